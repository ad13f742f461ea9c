#include "ZelvoGateway/net/TlsClient.h"

#include "ZelvoGateway/net/OpenSslPointers.h"
#include "ZelvoGateway/net/TlsPair.h"

#include <boost/asio/ssl/context.hpp>
#include <openssl/pem.h>
#include <openssl/ssl.h>

namespace zelvo::service {

namespace {

namespace ssl = asio::ssl;

struct Pinned {
    TlsContext context{ssl::context::tls_client};
    CertificatePtr certificate;
};

void demandVerified(TlsContext& context)
{
    SSL_CTX_set_min_proto_version(context.native_handle(), TLS1_2_VERSION);
    context.set_verify_mode(ssl::verify_peer);
}

int isPinned(X509_STORE_CTX* offered, void* pinned)
{
    X509* const leaf = X509_STORE_CTX_get0_cert(offered);
    bool const isSame = leaf && X509_cmp(leaf, static_cast<Pinned*>(pinned)->certificate.get()) == 0;
    X509_STORE_CTX_set_error(offered, isSame ? X509_V_OK : X509_V_ERR_CERT_UNTRUSTED);
    return isSame ? 1 : 0;
}

} // namespace

std::shared_ptr<TlsContext> trustingContext()
{
    auto context = std::make_shared<TlsContext>(ssl::context::tls_client);
    demandVerified(*context);
    context->set_default_verify_paths();
    return context;
}

std::shared_ptr<TlsContext> pinnedContext(std::string const& certificate)
{
    auto const pinned = std::make_shared<Pinned>();
    BioPtr const bio(BIO_new_mem_buf(certificate.data(), static_cast<int>(certificate.size())));
    pinned->certificate.reset(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr));
    if (!pinned->certificate)
        throw TlsError("the gateway's certificate can't be read");
    demandVerified(pinned->context);
    SSL_CTX_set_cert_verify_callback(pinned->context.native_handle(), isPinned, pinned.get());
    return {pinned, &pinned->context};
}

} // namespace zelvo::service
