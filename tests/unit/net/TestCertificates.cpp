#include "unit/net/TestCertificates.h"

#include "base/ReleaseWith.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <stdlib.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>

namespace zelvo {

namespace {

using KeyPtr = std::unique_ptr<EVP_PKEY, ReleaseWith<EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, ReleaseWith<X509_free>>;
using BioPtr = std::unique_ptr<BIO, ReleaseWith<BIO_free_all>>;
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, ReleaseWith<X509_EXTENSION_free>>;

void addExtension(X509* certificate, int kind, std::string const& value)
{
    ExtensionPtr const extension(X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()));
    if (!extension || X509_add_ext(certificate, extension.get(), -1) != 1)
        throw std::runtime_error("a test certificate could not be made");
}

CertificatePtr blankCertificate(EVP_PKEY* key, char const* commonName, long serial)
{
    CertificatePtr certificate(X509_new());
    X509_set_version(certificate.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
    X509_set_pubkey(certificate.get(), key);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_ASC,
                               reinterpret_cast<unsigned char const*>(commonName), -1, -1, 0);
    return certificate;
}

std::string textOf(BIO* bio)
{
    char* data = nullptr;
    long const size = BIO_get_mem_data(bio, &data);
    return {data, static_cast<std::size_t>(size)};
}

std::string pemOf(X509* certificate)
{
    BioPtr const bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_X509(bio.get(), certificate);
    return textOf(bio.get());
}

std::string pemOf(EVP_PKEY* key)
{
    BioPtr const bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_PrivateKey(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr);
    return textOf(bio.get());
}

std::string writeTemporaryFile(std::string const& text)
{
    char path[] = "/tmp/zelvo-test-authority-XXXXXX";
    int const file = ::mkstemp(path);
    if (file < 0 || ::write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("a test certificate could not be written");
    ::close(file);
    return path;
}

} // namespace

TestCertificates::TestCertificates(std::string const& name)
{
    KeyPtr const authorityKey(EVP_EC_gen("P-256"));
    CertificatePtr const authority = blankCertificate(authorityKey.get(), "Test authority", 1);
    X509_set_issuer_name(authority.get(), X509_get_subject_name(authority.get()));
    addExtension(authority.get(), NID_basic_constraints, "critical,CA:TRUE");
    X509_sign(authority.get(), authorityKey.get(), EVP_sha256());

    KeyPtr const serverKey(EVP_EC_gen("P-256"));
    CertificatePtr const server = blankCertificate(serverKey.get(), "server", 2);
    X509_set_issuer_name(server.get(), X509_get_subject_name(authority.get()));
    bool const isAddress = name.find_first_not_of("0123456789.:") == std::string::npos;
    addExtension(server.get(), NID_subject_alt_name, (isAddress ? "IP:" : "DNS:") + name);
    X509_sign(server.get(), authorityKey.get(), EVP_sha256());

    authorityFile = writeTemporaryFile(pemOf(authority.get()));
    certificate = pemOf(server.get());
    key = pemOf(serverKey.get());
}

TestCertificates::~TestCertificates()
{
    ::unlink(authorityFile.c_str());
}

} // namespace zelvo
