#pragma once

#include "ZelvoGateway/base/Caller.h"

#include <boost/signals2/connection.hpp>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

/// The API keys that are valid at this moment.
/// Thread: the server's. Made by: control/KeyService, tests/gateway/support/FakeKeyRing.
class KeyRing {
public:
    virtual ~KeyRing() = default;
    /// Whose key this is; nullopt for a wrong or revoked one. Both take the same time.
    virtual std::optional<Caller> callerWith(std::string_view key) = 0;
    /// Whether a key is still valid. An empty id means the person who runs the gateway, and is always valid.
    virtual bool isCurrent(std::string const& keyId) = 0;
    /// Whether the very key that a caller came with is still valid: neither revoked nor replaced.
    virtual bool isCurrent(Caller const& caller) = 0;
    /// Calls the observer with the id of each key that is revoked from now on, also by another process, or
    /// replaced, until the connection ends. For streams and sockets that outlive the request that opened
    /// them.
    virtual boost::signals2::connection
    observeRevocations(std::function<void(std::string const& keyId)> const& observer) = 0;
};

} // namespace zelvo::service
