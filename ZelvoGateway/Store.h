#pragma once

#include "ZelvoGateway/Database.h"
#include "base/Clock.h"
#include "wire/AgentMode.h"
#include "wire/AgentScope.h"
#include "wire/records/Heartbeat.h"
#include "wire/records/ServiceLinking.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

struct StoredMachine {
    std::string id;
    AgentMode kind{};
    std::string createdAt;
    std::optional<records::Heartbeat> heartbeat; ///< the last one
    bool paused = false;
    std::optional<std::string> lastSeenAt;
};

struct StoredConnection {
    std::string id;
    std::string machineId;
    std::string endUserId;
    AgentMode kind{};
    std::vector<AgentScope> scopes;
    std::string platformName;
    std::string createdAt;
    std::optional<std::string> revokedAt;
};

struct StoredLinkSession {
    std::string id;
    std::string endUserId;
    std::vector<AgentScope> scopes;
    Date expiresAt;
    std::optional<std::string> machineId; ///< once it was resolved
    bool used = false;
};

/// A machine and the token that proves it. Only here is the token known; the store keeps its hash.
struct MachineWithToken {
    std::string machineId;
    std::string token;
};

/// Everything that outlives the process: machines, connections, link sessions, end users, one-time codes of
/// the console. Of tokens and codes only hashes are kept. Other processes may use the same file at the same
/// time. Thread: one at a time. Errors: std::runtime_error.
class Store {
public:
    explicit Store(std::filesystem::path const& file);

    MachineWithToken addMachine(AgentMode kind, Date now);
    /// Gives a machine another token; the old one is worth nothing from here on.
    std::string replaceToken(std::string const& machineId);
    std::optional<StoredMachine> machineOfToken(std::string_view token);
    std::optional<StoredMachine> machine(std::string const& id);
    std::vector<StoredMachine> machines();
    /// Removes a machine with its connections; false when there is none.
    bool removeMachine(std::string const& id);
    void saveHeartbeat(std::string const& id, records::Heartbeat const& heartbeat, Date now);
    void setPaused(std::string const& id, bool paused, Date now);
    void setSeen(std::string const& id, Date now);

    void addConnection(StoredConnection const& connection);
    std::optional<StoredConnection> connection(std::string const& id);
    std::vector<StoredConnection> connections();
    std::vector<StoredConnection> connectionsOf(std::string const& machineId);
    /// False when it was revoked already or does not exist.
    bool revoke(std::string const& id, Date now);
    /// Revoked connections that the machine has not been told of.
    std::vector<std::string> revocationsToTell(std::string const& machineId);
    void setRevocationTold(std::string const& id);

    StoredLinkSession
    addLinkSession(records::CreateLinkSessionRequest const& request, std::string_view code, Date expiresAt);
    std::optional<StoredLinkSession> linkSessionOfCode(std::string_view code);
    void setResolvedMachine(std::string const& sessionId, std::string const& machineId);
    /// Marks the session as used and adds the connection, both or neither; false when it was used already.
    bool finishLinkSession(std::string const& sessionId, StoredConnection const& connection);

    records::EndUser addEndUser(records::CreateEndUserRequest const& request, Date now);

    void addConsoleCode(std::string_view code, Date expiresAt);
    /// True once for each code, and only before its end.
    bool takeConsoleCode(std::string_view code, Date now);

    /// Forgets codes and sessions whose time was over a day ago.
    void forgetExpired(Date now);

private:
    Database database;
};

/// Scopes as the store keeps them: wire texts, separated by spaces.
std::string scopesText(std::vector<AgentScope> const& scopes);
std::vector<AgentScope> scopesFrom(std::string_view text);

} // namespace zelvo::service
