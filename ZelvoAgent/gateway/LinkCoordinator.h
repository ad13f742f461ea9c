#pragma once

#include "base/Contexts.h"
#include "gateway/HeartbeatBuilder.h"
#include "gateway/Keychain.h"
#include "gateway/LinkOffer.h"
#include "platform/HttpLoading.h"
#include "state/AgentState.h"

#include <boost/signals2/signal.hpp>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// Links this machine to a platform: asks the gateway for the offer of a link token, shows it, and sends the
/// gateway the scopes that the person granted. It never retries; every failure is reported in error().
/// Thread: main.
class LinkCoordinator {
public:
    struct Services {
        Executor main;
        HttpLoading& http;
        Keychain& keychain;
        AgentState& state;
        HeartbeatBuilder& machine;
        std::string httpBase;                  ///< the HTTP form of the gateway's address
        std::function<void()> connectIfLinked; ///< called after a successful link
    };

    explicit LinkCoordinator(Services services);

    /// Emitted after every change of the values below.
    boost::signals2::signal<void()> changed;

    std::optional<LinkOffer> const& offer() const { return shown; }
    std::set<AgentScope> const& granted() const { return ticked; }
    std::optional<std::string> const& error() const { return lastError; }
    bool isBusy() const { return busy; }
    std::optional<std::string> const& pendingToken() const { return pending; }

    void begin(std::string token);
    void present(LinkOffer offer);
    /// `screen` cannot be removed from an offer that asks for it.
    void setGranted(AgentScope scope, bool on);
    Task<> complete(std::vector<AgentScope> grantedScopes);
    void cancel();

private:
    Task<> resolve(std::string token);
    Task<> takeOffer(json::object answer, std::string token);
    /// The gateway's answer if its status is 200 and it is a JSON object; otherwise sets the error and
    /// returns `nullopt`.
    Task<std::optional<json::object>> call(std::string endpoint, json::object body);
    void setBusy(bool value);
    void fail(std::string message);
    std::string messageFrom(std::string const& body) const;
    std::string transportMessage(NetworkFailure const& failure, std::string const& endpoint) const;
    std::string unreachableMessage(std::string const& endpoint, std::string const& reason) const;

    Services services;
    std::optional<LinkOffer> shown;
    std::set<AgentScope> ticked;
    std::optional<std::string> lastError;
    bool busy = false;
    std::optional<std::string> pending;
};

} // namespace zelvo
