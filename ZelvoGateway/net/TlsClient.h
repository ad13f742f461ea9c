#pragma once

#include "ZelvoGateway/net/TlsLayer.h"

#include <memory>
#include <string>

namespace zelvo::service {

/// For a client that trusts what this computer trusts, with SSL_CERT_FILE and SSL_CERT_DIR. The stream checks
/// the server's name.
std::shared_ptr<TlsContext> trustingContext();

/// For a client that accepts one certificate only, whatever its names and its dates are.
/// certificate   PEM. Throws TlsError if it is none.
std::shared_ptr<TlsContext> pinnedContext(std::string const& certificate);

} // namespace zelvo::service
