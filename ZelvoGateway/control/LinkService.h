#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/store/Store.h"
#include "wire/Json.h"
#include "wire/records/ServiceLinking.h"

namespace zelvo::service {

/// Joins machines to this platform: a platform makes a link session, its one-time code reaches a person as a
/// link, the person's agent resolves the code and, when the person agrees, completes it. Thread: the
/// server's. Errors: Failure.
class LinkService {
public:
    LinkService(Store& store, Settings const& settings) : store(store), settings(settings) {}

    records::LinkSession createSession(records::CreateLinkSessionRequest const& request);

    /// The agent's call: {"token", "appVersion", "macosVersion", "machineToken"?}. The answer holds a
    /// "machineToken" only when the agent's own can't be used.
    json::object resolve(json::object const& request);
    /// {"token", "machineToken", "grantedScopes"} gives {"connectionId"}. Works once a session.
    json::object complete(json::object const& request);

    /// A machine without a person, and its connection with all scopes.
    struct Provisioned {
        MachineWithToken machine;
        std::string connectionId;
    };
    Provisioned provision(std::string const& endUserId);

private:
    StoredLinkSession openSession(json::object const& request);
    MachineWithToken machineFor(StoredLinkSession const& session, json::object const& request);

    Store& store;
    Settings const& settings;
};

} // namespace zelvo::service
