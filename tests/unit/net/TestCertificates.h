#pragma once

#include <string>

namespace zelvo {

/// A test certification authority and a server certificate from it, as PEM texts and as a file for
/// SSL_CERT_FILE. The certificate contains `name` as a DNS name, or as an IP address if it is one.
class TestCertificates {
public:
    explicit TestCertificates(std::string const& name);
    ~TestCertificates();
    TestCertificates(TestCertificates const&) = delete;
    TestCertificates& operator=(TestCertificates const&) = delete;

    std::string authorityFile; ///< PEM, deleted with this
    std::string certificate;   ///< PEM
    std::string key;           ///< PEM
};

} // namespace zelvo
