#include "ZelvoGateway/net/TlsPair.h"

#include "ZelvoGateway/base/OwnedDescriptor.h"
#include "ZelvoGateway/net/OpenSslPointers.h"

#include <boost/asio/ssl/context.hpp>
#include <openssl/pem.h>
#include <openssl/ssl.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string_view>
#include <system_error>

namespace zelvo::service {

namespace {

namespace ssl = asio::ssl;

constexpr std::size_t maxFile = 1_MiB;
constexpr std::string_view httpProtocol = "\x08http/1.1";

/// A file's text, which leaves no copy in memory.
class SecretText {
public:
    SecretText() : text(maxFile, '\0') {}
    SecretText(SecretText const&) = delete;
    SecretText& operator=(SecretText const&) = delete;
    ~SecretText() { OPENSSL_cleanse(text.data(), text.size()); }

    std::string text;
    std::size_t size = 0;
    asio::const_buffer buffer() const { return asio::buffer(text.data(), size); }
};

[[noreturn]] void failToRead(std::string const& path, std::string const& why)
{
    throw TlsError("cannot read " + path + ": " + why);
}

OwnedDescriptor opened(std::string const& path)
{
    int const number = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); // Not held up by a pipe.
    if (number < 0)
        failToRead(path, std::generic_category().message(errno));
    return OwnedDescriptor(number);
}

struct stat statusOf(OwnedDescriptor const& file, std::string const& path)
{
    struct stat status{};
    if (::fstat(file.get(), &status) != 0)
        failToRead(path, std::generic_category().message(errno));
    if (!S_ISREG(status.st_mode))
        failToRead(path, "it is not a regular file");
    return status;
}

void read(OwnedDescriptor const& file, std::string const& path, SecretText& into)
{
    for (;;) {
        ssize_t const count = ::read(file.get(), into.text.data() + into.size, into.text.size() - into.size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            failToRead(path, std::generic_category().message(errno));
        into.size += static_cast<std::size_t>(count);
        if (into.size == into.text.size())
            failToRead(path, "it is too large");
        if (count == 0)
            return;
    }
}

void readCertificate(std::string const& path, SecretText& into)
{
    OwnedDescriptor const file = opened(path);
    statusOf(file, path);
    read(file, path, into);
}

void readKey(std::string const& path, SecretText& into)
{
    OwnedDescriptor const file = opened(path);
    if ((statusOf(file, path).st_mode & S_IRWXO) != 0)
        throw TlsError("everybody on this computer has access to the key " + path +
                       "; take it away with chmod o= " + path);
    read(file, path, into);
}

int chooseHttp(SSL*,
               unsigned char const** chosen,
               unsigned char* chosenSize,
               unsigned char const* offered,
               unsigned int offeredSize,
               void*)
{
    auto const* const ours = reinterpret_cast<unsigned char const*>(httpProtocol.data());
    unsigned char* found = nullptr;
    int const result =
        SSL_select_next_proto(&found, chosenSize, ours, httpProtocol.size(), offered, offeredSize);
    *chosen = found;
    return result == OPENSSL_NPN_NEGOTIATED ? SSL_TLSEXT_ERR_OK : SSL_TLSEXT_ERR_ALERT_FATAL;
}

std::shared_ptr<TlsContext> newContext()
{
    auto context = std::make_shared<TlsContext>(ssl::context::tls_server);
    SSL_CTX* const raw = context->native_handle();
    SSL_CTX_set_min_proto_version(raw, TLS1_2_VERSION);
    SSL_CTX_set_options(raw, SSL_OP_NO_COMPRESSION | SSL_OP_NO_RENEGOTIATION);
    SSL_CTX_set_session_cache_mode(raw, SSL_SESS_CACHE_OFF); // Clients keep their tickets themselves.
    SSL_CTX_set_alpn_select_cb(raw, chooseHttp, nullptr);
    // Without this OpenSSL asks for a passphrase on the terminal.
    context->set_password_callback([](std::size_t, ssl::context::password_purpose) { return ""; });
    return context;
}

std::string pemOf(X509* certificate)
{
    BioPtr const bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_X509(bio.get(), certificate);
    char* data = nullptr;
    long const size = BIO_get_mem_data(bio.get(), &data);
    return {data, static_cast<std::size_t>(size)};
}

Date endOf(X509* certificate)
{
    std::tm time{};
    if (ASN1_TIME_to_tm(X509_get0_notAfter(certificate), &time) != 1)
        throw TlsError("the certificate has no valid end");
    return Date(std::chrono::seconds(::timegm(&time)));
}

std::int64_t nanoseconds(timespec const& time)
{
    return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

FileStamp stampOf(std::string const& path)
{
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0)
        return {};
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .bytes = status.st_size,
            .modified = nanoseconds(status.st_mtim),
            .changed = nanoseconds(status.st_ctim)};
}

} // namespace

TlsPair loadTlsPair(TlsFiles const& files)
{
    SecretText certificate;
    SecretText key;
    readCertificate(files.certificate, certificate);
    readKey(files.key, key);
    TlsPair pair{.context = newContext()};
    boost::system::error_code error;
    pair.context->use_certificate_chain(certificate.buffer(), error);
    if (error)
        throw TlsError(files.certificate + " holds no certificate in PEM format: " + error.message());
    pair.context->use_private_key(key.buffer(), ssl::context::pem, error);
    SSL_CTX* const raw = pair.context->native_handle();
    if (error || SSL_CTX_check_private_key(raw) != 1)
        throw TlsError(files.key + " holds no key in PEM format without a passphrase that belongs to the " +
                       "certificate in " + files.certificate);
    X509* const own = SSL_CTX_get0_certificate(raw);
    pair.certificate = pemOf(own);
    pair.expires = endOf(own);
    return pair;
}

TlsStamp stampOf(TlsFiles const& files)
{
    return {.certificate = stampOf(files.certificate), .key = stampOf(files.key)};
}

} // namespace zelvo::service
