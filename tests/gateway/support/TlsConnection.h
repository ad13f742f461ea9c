#pragma once

#include "gateway/support/HttpClient.h"

#include <cstdint>
#include <memory>
#include <string>

namespace zelvo::service {

/// How a client begins TLS.
struct TlsOptions {
    std::string authorityFile;      ///< whose certificates it trusts
    std::string name = "127.0.0.1"; ///< that the certificate must have
    std::string protocols = {};     ///< of ALPN, each after its length; empty for none
    int maxVersion = 0;             ///< 0 for the newest
};

/// A client's connection with TLS, on which requests follow each other. Thread: the test's.
class TlsConnection {
public:
    /// Throws std::runtime_error if TLS does not begin.
    TlsConnection(std::uint16_t port, TlsOptions const& options);
    TlsConnection(TlsConnection const&) = delete;
    TlsConnection& operator=(TlsConnection const&) = delete;
    ~TlsConnection();

    /// Without a "Host" header it adds the right one.
    Answer request(std::string const& method,
                   std::string const& target,
                   Headers headers = {},
                   std::string const& body = {});
    /// The server's, as PEM.
    std::string certificate() const;
    /// The protocol that ALPN chose; empty if none.
    std::string protocol() const;
    /// Whether the server says that it sends nothing more.
    bool endsWell();

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace zelvo::service
