#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/http/PlaceShares.h"
#include "ZelvoGateway/http/Routes.h"
#include "base/Task.h"

#include <boost/asio/ip/tcp.hpp>

#include <chrono>
#include <memory>
#include <optional>

namespace zelvo::service {

/// What the sessions of one server share.
struct SessionParts {
    Limits const& limits;
    Routes const& routes;
    MemoryBudget& memory;
    Executor workers;
    PlaceShares shares{limits.connections};
    bool stopping = false;
};

/// One HTTP connection: reads requests within the limits, answers them, and hands the socket over if one of
/// them becomes a WebSocket. Thread: the server's.
class HttpSession : public std::enable_shared_from_this<HttpSession> {
public:
    static std::shared_ptr<HttpSession> create(asio::ip::tcp::socket socket, SessionParts& parts);
    virtual ~HttpSession() = default;

    /// Serves until the connection ends or is handed over.
    virtual Task<> serve() = 0;
    /// Ends the connection at once.
    virtual void drop() = 0;
    /// Since when it has a place without the right to one: it waits for a request, or serves one that
    /// everybody may send. nullopt while it serves a platform or the console, or has a share of the places.
    virtual std::optional<std::chrono::steady_clock::time_point> waitsSince() const = 0;
};

} // namespace zelvo::service
