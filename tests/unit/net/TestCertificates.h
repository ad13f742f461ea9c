#pragma once

#include <string>

namespace zelvo {

/// A certification authority of its own and a server certificate by it, as PEM texts and as a file for
/// SSL_CERT_FILE. The certificate names `name` as a DNS name, or as an IP address when it is one.
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
