#pragma once

#include "base/ReleaseWith.h"

#include <openssl/bio.h>
#include <openssl/x509.h>

#include <memory>

namespace zelvo::service {

using BioPtr = std::unique_ptr<BIO, ReleaseWith<BIO_free_all>>;
using CertificatePtr = std::unique_ptr<X509, ReleaseWith<X509_free>>;

} // namespace zelvo::service
