#pragma once

#include "ZelvoGateway/control/Arbiter.h"
#include "ZelvoGateway/store/Database.h"
#include "ZelvoGateway/store/StoredRecording.h"
#include "base/Clock.h"
#include "wire/AgentMode.h"
#include "wire/AgentScope.h"
#include "wire/records/Connections.h"
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

/// A command that waits for its machine, runs, or has ended.
struct StoredCommand {
    std::string id; ///< also the "id" of its frame
    std::string connectionId;
    std::string method;
    std::string summary;
    std::string frame; ///< JSON; empty once it has ended
    Date expiresAt;
    records::CommandStatus status = records::CommandStatus::queued;
    std::optional<std::string> result; ///< JSON
    std::optional<std::string> error;  ///< JSON, {"code", "message", "details"?}
};

/// How a queued command ended.
struct CommandEnd {
    records::CommandStatus status{};
    std::optional<std::string> result = {};
    std::optional<std::string> error = {};
};

/// What commands that wait take up.
struct QueueUse {
    std::size_t commands = 0;
    std::size_t bytes = 0;
};

/// Everything that outlives the process: machines, connections, link sessions, end users, one-time codes of
/// the console, queued commands, agents that were put aside, what is known of films. Of tokens and codes only
/// hashes are kept. Other processes may use the same file at the same time. Thread: one at a time. Errors:
/// std::runtime_error.
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

    /// Keeps a command; it waits for its machine, in the order of the calls.
    void addCommand(StoredCommand const& command);
    std::optional<StoredCommand> command(std::string const& id);
    /// Commands that wait, oldest first, of connections that stand; without their frames.
    std::vector<StoredCommand> waitingCommands(std::string const& machineId, Date now);
    QueueUse queueOfConnection(std::string const& connectionId);
    QueueUse queueOfMachine(std::string const& machineId);
    /// From queued to running; false when it is not queued any more or its time is over. It is on disk before
    /// this returns, so that no command is ever sent twice.
    bool startCommand(std::string const& id, Date now);
    /// Back from running to queued, for one that the machine did not start.
    void requeueCommand(std::string const& id);
    /// From `status` to its end; false when it has another status.
    bool endCommand(std::string const& id, records::CommandStatus status, CommandEnd const& end, Date now);
    /// Ends the commands whose time is over while they wait.
    void expireCommands(Date now);
    /// Ends the commands that were running when the gateway stopped: whether they were carried out is not
    /// known.
    void endInterruptedCommands(Date now);
    /// Forgets what ended before `oldest`.
    void forgetEndedCommands(Date oldest);
    /// Keeps at most so many ended commands of a connection and so many bytes of their results, the newest.
    void trimEndedCommands(std::string const& connectionId, std::size_t count, std::size_t bytes);
    void dropCommands(std::string const& connectionId);

    void addPausedAgent(std::string const& machineId, PausedAgent const& paused);
    void removePausedAgent(std::string const& machineId, std::string const& ref);
    void removePausedAgents(std::string const& connectionId);
    std::vector<PausedAgent> pausedAgents(std::string const& machineId);

    /// Whether the person shares films of what this connection does.
    void setShared(std::string const& connectionId, bool shared);
    bool isShared(std::string const& connectionId);
    void addRecording(StoredRecording const& recording, std::string_view uploadSecret);
    std::optional<StoredRecording> recording(std::string const& id);
    std::optional<StoredRecording> recordingOfUpload(std::string_view secret);
    /// Those that can be watched or are on their way, newest first.
    std::vector<StoredRecording> recordings(RecordingQuery const& query);
    /// From one stage to another; false when it has another stage.
    bool moveRecording(std::string const& id, RecordingStage from, RecordingStage to, Date now);
    RecordingUse recordingUse();
    std::size_t openUploads(std::string const& connectionId);
    /// Ends what is not ready, and tells of what.
    std::vector<std::string> endUploads(std::string const& connectionId, Date now);
    /// Ends the uploads that were under way when the gateway stopped.
    void endInterruptedUploads(Date now);
    /// Ends films whose time is over, addresses that nobody used in time, and films that came before
    /// `oldestReceived` and were not completed; tells of which.
    std::vector<std::string> endOldRecordings(Date now, Date oldestReceived);
    /// Forgets what ended before `oldest`.
    void forgetEndedRecordings(Date oldest);
    /// Those whose files belong on the disk when nothing is on its way.
    std::vector<std::string> recordingsThatStay();
    std::vector<std::string> recordingsOf(std::string const& machineId);

    /// Forgets codes and sessions whose time was over a day ago.
    void forgetExpired(Date now);

private:
    Database database;
};

/// Scopes as the store keeps them: wire texts, separated by spaces.
std::string scopesText(std::vector<AgentScope> const& scopes);
std::vector<AgentScope> scopesFrom(std::string_view text);

} // namespace zelvo::service
