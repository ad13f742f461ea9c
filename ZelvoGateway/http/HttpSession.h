#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/base/Metrics.h"
#include "ZelvoGateway/base/OpenWork.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/http/PlaceShares.h"
#include "ZelvoGateway/http/RequestLimits.h"
#include "ZelvoGateway/http/Routes.h"
#include "ZelvoGateway/net/PeerStream.h"
#include "ZelvoGateway/net/TrustedProxies.h"
#include "base/Task.h"

#include <chrono>
#include <memory>
#include <optional>

namespace zelvo::service {

/// What the sessions of one server share.
struct SessionParts {
    Limits const& limits;
    Routes const& routes;
    TrustedProxies const& proxies;
    MemoryBudget& memory;
    OpenWork& work; ///< once it closes, requests are refused
    Executor workers;
    PlaceShares shares{limits.connections};
    Metrics& metrics = Metrics::none();
    RequestLimits* requestLimits = nullptr; ///< null for none
    AccessControl const* access = nullptr;  ///< that knows whose key a request has; null without those limits
    bool stopping = false;                  ///< connections end as soon as they serve nothing
};

/// One HTTP connection, with or without TLS: reads requests within the limits, answers them, and hands the
/// socket over if one of them becomes a WebSocket. Thread: the server's.
class HttpSession : public std::enable_shared_from_this<HttpSession> {
public:
    /// ofAddress   the connection's place in the limits of its address
    static std::shared_ptr<HttpSession>
    create(PeerStream stream, SessionParts& parts, RequestLimits::Lease ofAddress = nullptr);
    virtual ~HttpSession() = default;

    /// Serves until the connection ends or is handed over.
    virtual Task<> serve() = 0;
    /// Ends the connection at once.
    virtual void drop() = 0;
    /// Whether it has a request that is not answered yet.
    virtual bool isServing() const = 0;
    /// Since when it has a place without the right to one: it waits for a request, or serves one that
    /// everybody may send. nullopt while it serves a platform or the console, or has a share of the places.
    virtual std::optional<std::chrono::steady_clock::time_point> waitsSince() const = 0;
};

} // namespace zelvo::service
