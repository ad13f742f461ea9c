#pragma once

#include "ZelvoGateway/control/KeyService.h"
#include "ZelvoGateway/http/HttpMessage.h"

#include <string>

namespace zelvo::service {

/// What the console's page of API keys asks for. No platform can: a key must not make another.
/// Thread: the server's. Errors: Failure, HttpError.
class ConsoleKeys {
public:
    explicit ConsoleKeys(KeyService& keys) : keys(keys) {}

    /// {"keys"}
    HttpResponse list();
    /// {"key", "text"}: the only answer that holds the key itself.
    HttpResponse add(HttpRequest const& request);
    /// {"key"}
    HttpResponse revoke(std::string const& id);

private:
    KeyService& keys;
};

} // namespace zelvo::service
