#pragma once

#include <openssl/bio.h>
#include <openssl/x509.h>

#include <memory>

namespace zelvo::service {

/// For C functions that take the pointer.
template <auto release>
struct ReleaseWith {
    template <class T>
    void operator()(T* raw) const noexcept
    {
        release(raw);
    }
};

using BioPtr = std::unique_ptr<BIO, ReleaseWith<BIO_free_all>>;
using CertificatePtr = std::unique_ptr<X509, ReleaseWith<X509_free>>;

} // namespace zelvo::service
