#pragma once

#include "ZelvoGateway/http/AccessControl.h"
#include "ZelvoGateway/http/BodySink.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/http/Operation.h"
#include "base/Task.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

using PathIds = std::vector<std::string>; ///< the segments that stand for "*" in a pattern

struct UpgradedConnection; // http/Upgrade.h

/// Serves a connection that has left HTTP for a WebSocket, until it ends.
using Upgrade = std::function<Task<>(std::shared_ptr<UpgradedConnection> connection)>;

/// One path with one method. Its functions throw HttpError.
struct Route {
    std::string_view method;
    std::vector<std::string_view> pattern; ///< segments; "*" stands for any that is not empty
    std::size_t maxBody;                   ///< bytes; not for `receive`
    /// Refuses callers that may not call, by the head alone. Empty if everybody may.
    std::function<void(HttpRequest const& head)> assertAccess;
    /// Answers a request whose body was read.
    std::function<Task<HttpResponse>(HttpRequest request, PathIds ids)> answer = {};
    /// Instead of `answer`: takes the body in pieces, however large it is.
    std::function<std::shared_ptr<BodySink>(HttpRequest const& head, PathIds const& ids)> receive = {};
    /// Beside `answer`: admits a WebSocket.
    std::function<Upgrade(HttpRequest const& head)> upgrade = {};
    std::shared_ptr<Operation const> operation =
        {};                        ///< what it does, for callers; null if it is not for them
    bool isForMachines = false;    ///< `assertAccess` has checked the token of a machine
    bool isServedAtTheEnd = false; ///< also while the gateway stops
};

/// A request that was admitted.
struct Admission {
    Route const* route = nullptr;
    PathIds ids;
    bool isPlatform = false; ///< or the console: the caller may use the whole gateway
};

/// The paths of the gateway. Thread: the server's.
class Routes {
public:
    explicit Routes(AccessControl const& access) : access(&access) {}
    /// Routes that everybody may use, by any host name.
    Routes() = default;

    /// Before the server runs.
    void add(std::vector<Route> const& routes);
    std::vector<Route> const& list() const { return all; }
    /// Whether a request asks by the gateway's public name, which is served with TLS only.
    bool isAtSecureName(HttpRequest const& head) const { return access && access->isAtSecureName(head); }
    /// Finds the route of a request, and refuses a caller that may not use it. Throws HttpError.
    Admission admit(HttpRequest const& head) const;

private:
    AccessControl const* access = nullptr;
    std::vector<Route> all;
};

} // namespace zelvo::service
