#pragma once

#include "ZelvoGateway/store/Agent.h"
#include "ZelvoGateway/store/Backlog.h"
#include "ZelvoGateway/store/Page.h"
#include "ZelvoGateway/store/StoreError.h"
#include "ZelvoGateway/store/StoredAnswer.h"
#include "ZelvoGateway/store/StoredAuditEvent.h"
#include "ZelvoGateway/store/StoredCommand.h"
#include "ZelvoGateway/store/StoredConnection.h"
#include "ZelvoGateway/store/StoredKey.h"
#include "ZelvoGateway/store/StoredMachine.h"
#include "ZelvoGateway/store/StoredRecording.h"
#include "ZelvoGateway/store/StoredWebhook.h"
#include "base/Clock.h"
#include "wire/records/ServiceLinking.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// Everything that must not be lost: machines, connections, link sessions, end users, one-time codes of the
/// console, queued commands, paused agents, API keys, and what is known of recordings. Of tokens, codes, keys
/// and upload secrets it keeps only hashes.
///
/// A change is durable when the call returns, except where a comment says otherwise, and each call happens
/// whole or not at all. Other processes may use the same store at the same time, so a call that returns bool
/// decides between them: only one gets true.
/// Thread: the server's, one call at a time; a call may wait for a disk. Throws StoreError.
/// Made by: SqliteStore.
class Store {
public:
    virtual ~Store() = default;

    virtual MachineWithToken addMachine(AgentMode kind, Date now) = 0;
    /// Gives a machine another token; the old one is refused from now on.
    virtual std::string replaceToken(std::string const& machineId) = 0;
    virtual std::optional<StoredMachine> machineOfToken(std::string_view token) = 0;
    virtual std::optional<StoredMachine> machine(std::string const& id) = 0;
    /// Oldest first.
    virtual std::vector<StoredMachine> machines() = 0;
    /// Removes a machine and everything that belongs to it; false if there is none.
    virtual bool removeMachine(std::string const& id) = 0;
    /// The next three may be lost in a crash: a machine reports them again within seconds.
    virtual void saveHeartbeat(std::string const& id, records::Heartbeat const& heartbeat, Date now) = 0;
    virtual void setPaused(std::string const& id, bool paused, Date now) = 0;
    virtual void setSeen(std::string const& id, Date now) = 0;

    virtual void addConnection(StoredConnection const& connection) = 0;
    virtual std::optional<StoredConnection> connection(std::string const& id) = 0;
    /// Oldest first, the revoked ones too.
    virtual std::vector<StoredConnection> connectionsOf(std::string const& machineId) = 0;
    /// False if it was revoked already or does not exist.
    virtual bool revoke(std::string const& id, Date now) = 0;
    /// Revoked connections that the machine has not heard of yet, oldest revocation first.
    virtual std::vector<std::string> pendingRevocations(std::string const& machineId) = 0;
    virtual void setRevocationDelivered(std::string const& id) = 0;

    /// Adds a link session, and returns it with its id.
    virtual StoredLinkSession addLinkSession(StoredLinkSession session, std::string_view code) = 0;
    virtual std::optional<StoredLinkSession> linkSessionOfCode(std::string_view code) = 0;
    virtual void setResolvedMachine(std::string const& sessionId, std::string const& machineId) = 0;
    /// Marks the session as used and adds the connection; false if it was used already.
    virtual bool finishLinkSession(std::string const& sessionId, StoredConnection const& connection) = 0;

    /// Adds an end user, or updates the one with the same external id.
    virtual records::EndUser addEndUser(records::CreateEndUserRequest const& request, Date now) = 0;

    virtual void addConsoleCode(std::string_view code, Date expiresAt) = 0;
    /// True once for each code, and only before it expires.
    virtual bool takeConsoleCode(std::string_view code, Date now) = 0;

    /// Appends a command to the queue.
    virtual void addCommand(StoredCommand const& command) = 0;
    virtual std::optional<StoredCommand> command(std::string const& id) = 0;
    /// Waiting commands of connections that are not revoked, in the order of addCommand(), without frames.
    virtual std::vector<StoredCommand> waitingCommands(std::string const& machineId, Date now) = 0;
    virtual QueueUse queueOfConnection(std::string const& connectionId) = 0;
    virtual QueueUse queueOfMachine(std::string const& machineId) = 0;
    /// From queued to running; false if it is not queued any more or has expired. Durable before this
    /// returns, so that no command is ever sent twice.
    virtual bool startCommand(std::string const& id, Date now) = 0;
    /// From running back to queued, for a command that the machine did not start.
    virtual void requeueCommand(std::string const& id) = 0;
    /// From `status` to its end; false if it has another status.
    virtual bool
    endCommand(std::string const& id, records::CommandStatus status, CommandEnd const& end, Date now) = 0;
    /// Ends the waiting commands that have expired; each ends at the date at which it expired.
    virtual void expireCommands(Date now) = 0;
    /// Ends the commands that were running when the gateway stopped: nobody knows whether they were carried
    /// out.
    virtual void endInterruptedCommands(Date now) = 0;
    /// Forgets what ended before `oldest`.
    virtual void forgetEndedCommands(Date oldest) = 0;
    /// Keeps the newest ended commands of a connection: at most `maxCommands`, and at most `maxBytes` of
    /// results.
    virtual void
    trimEndedCommands(std::string const& connectionId, std::size_t maxCommands, std::size_t maxBytes) = 0;
    /// Forgets every command of a connection.
    virtual void dropCommands(std::string const& connectionId) = 0;

    virtual void addPausedAgent(std::string const& machineId, PausedAgent const& paused) = 0;
    virtual void removePausedAgent(std::string const& machineId, std::string const& ref) = 0;
    virtual void removePausedAgents(std::string const& connectionId) = 0;
    /// In the order in which they were paused.
    virtual std::vector<PausedAgent> pausedAgents(std::string const& machineId) = 0;

    /// Whether the person shares recordings of this connection.
    virtual void setShared(std::string const& connectionId, bool shared) = 0;
    virtual bool isShared(std::string const& connectionId) = 0;
    virtual void addRecording(StoredRecording const& recording, std::string_view uploadSecret) = 0;
    virtual std::optional<StoredRecording> recording(std::string const& id) = 0;
    virtual std::optional<StoredRecording> recordingOfUpload(std::string_view secret) = 0;
    /// Recordings that can be watched or are being uploaded, newest first.
    virtual std::vector<StoredRecording> recordings(RecordingQuery const& query) = 0;
    /// From one stage to another; false if it has another stage.
    virtual bool moveRecording(std::string const& id, RecordingStage from, RecordingStage to, Date now) = 0;
    virtual RecordingUse recordingUse() = 0;
    /// How many uploads of a connection are open or running.
    virtual std::size_t openUploads(std::string const& connectionId) = 0;
    /// Ends the recordings of a connection that are not ready; returns their ids.
    virtual std::vector<std::string> endUploads(std::string const& connectionId, Date now) = 0;
    /// Ends the uploads that were running when the gateway stopped.
    virtual void endInterruptedUploads(Date now) = 0;
    /// Ends recordings that have expired, uploads that did not begin in time, and uploads that arrived
    /// before `oldestReceived` and were never completed; returns their ids.
    virtual std::vector<std::string> endOldRecordings(Date now, Date oldestReceived) = 0;
    /// Forgets what ended before `oldest`.
    virtual void forgetEndedRecordings(Date oldest) = 0;
    /// Recordings that have a file while no upload runs.
    virtual std::vector<std::string> recordingsWithFiles() = 0;
    /// Those of one machine.
    virtual std::vector<std::string> recordingsWithFiles(std::string const& machineId) = 0;

    /// Forgets codes and link sessions that expired more than a day ago.
    virtual void forgetExpired(Date now) = 0;

    virtual Page<StoredMachine> machinePage(PageQuery const& query) = 0;
    /// The revoked ones too.
    virtual Page<StoredConnection> connectionPage(PageQuery const& query) = 0;
    virtual Page<records::EndUser> endUserPage(PageQuery const& query) = 0;
    virtual std::optional<records::EndUser> endUser(std::string const& id) = 0;
    virtual Page<StoredLinkSession> linkSessionPage(PageQuery const& query) = 0;
    virtual std::optional<StoredLinkSession> linkSession(std::string const& id) = 0;

    /// Adds a webhook, and returns it with its id. From now on it gets the events that it asks for, each in
    /// one step with the change that it is about.
    virtual StoredWebhook addWebhook(StoredWebhook webhook) = 0;
    virtual std::optional<StoredWebhook> webhook(std::string const& id) = 0;
    virtual std::vector<StoredWebhook> webhooks() = 0;
    virtual Page<StoredWebhook> webhookPage(PageQuery const& query) = 0;
    /// Removes a webhook and its deliveries; false if there is none.
    virtual bool removeWebhook(std::string const& id) = 0;
    /// Stores everything that may change of a webhook: its secrets, and how it fares.
    virtual void saveWebhook(StoredWebhook const& webhook) = 0;
    /// Waiting deliveries of a webhook that are due, first due first.
    virtual std::vector<StoredDelivery>
    dueDeliveries(std::string const& webhookId, Date now, std::size_t limit) = 0;
    /// When the next waiting delivery of a webhook is due; nullopt if none waits.
    virtual std::optional<Date> nextDelivery(std::string const& webhookId, Date after) = 0;
    virtual std::optional<StoredDelivery> delivery(std::string const& id) = 0;
    virtual Page<StoredDelivery> deliveryPage(std::string const& webhookId, PageQuery const& query) = 0;
    /// Stores how a delivery fares.
    virtual void saveDelivery(StoredDelivery const& delivery) = 0;
    /// Ends every waiting delivery of a webhook without an attempt.
    virtual void failWaiting(std::string const& webhookId, std::string_view error, Date now) = 0;
    /// Ends the oldest waiting deliveries of a webhook beyond `maxWaiting`, and forgets the oldest ended ones
    /// beyond `maxEnded` and those that ended before `oldest`.
    virtual void trimDeliveries(std::string const& webhookId,
                                std::size_t maxWaiting,
                                std::size_t maxEnded,
                                Date oldest,
                                Date now) = 0;
    /// Forgets events that no delivery is about any more.
    virtual void forgetUnusedEvents() = 0;
    /// Notes that a machine is connected or not; an event if that is new.
    virtual void setOnline(std::string const& machineId, bool online, Date now) = 0;
    /// Those that setOnline() noted last as connected.
    virtual std::vector<std::string> onlineMachines() = 0;
    /// Calls back when a delivery was added by this process, in the middle of another call: the callback must
    /// not use the store.
    virtual void onDelivery(std::function<void()> added) = 0;

    /// Adds an API key. One with the same id only gets another prefix and hash.
    virtual void saveKey(StoredKey const& key) = 0;
    /// Oldest first, the revoked ones too.
    virtual std::vector<StoredKey> keys() = 0;
    /// Revokes a key and cancels the commands that wait in its name; false if it was revoked already or does
    /// not exist.
    virtual bool revokeKey(std::string const& id, Date now) = 0;
    /// May be lost in a crash.
    virtual void setKeyUsed(std::string const& id, Date now) = 0;
    /// Forgets keys that were revoked before `oldest`.
    virtual void forgetRevokedKeys(Date oldest) = 0;
    /// Another number after another process has changed the store.
    virtual std::int64_t foreignChanges() = 0;

    /// Adds events to the audit log, all or none. One with the same id only gets other details.
    virtual void saveAuditEvents(std::vector<StoredAuditEvent> const& events) = 0;
    virtual Page<StoredAuditEvent> auditEventPage(PageQuery const& query) = 0;
    /// Forgets events before `oldest`, and the oldest ones beyond `maxEvents`.
    virtual void trimAuditEvents(Date oldest, std::size_t maxEvents) = 0;

    /// Notes that a request with an idempotency key runs, unless the caller has used the key since `oldest`.
    /// Returns what is known of that use; nullopt if the request is new.
    virtual std::optional<StoredAnswer> beginAnswer(StoredAnswer const& begun, Date oldest) = 0;
    /// Keeps the answer to such a request.
    virtual void endAnswer(StoredAnswer const& ended) = 0;
    /// Forgets such a request: nothing was done for it.
    virtual void dropAnswer(std::string const& caller, std::string const& keyHash) = 0;
    /// Forgets requests that began before `oldest`, and of each caller the oldest answered ones beyond
    /// `maxAnswers`.
    virtual void trimAnswers(Date oldest, std::size_t maxAnswers) = 0;

    /// Cancels the commands that wait in the name of a key.
    virtual void cancelCommandsOfKey(std::string const& id, Date now) = 0;
    /// What waits in the store, for whoever watches the gateway.
    virtual Backlog backlog() = 0;
    /// Throws StoreError if nothing can be read.
    virtual void assertReadable() = 0;

    /// Reserves so many numbers in a row that no other call ever gets, and returns the first. They grow.
    virtual std::uint64_t reserveNumbers(std::uint64_t count) = 0;
    /// A random id of this store, "gwy_...", made by the first call. Whoever shares the store gets the same,
    /// and so does a copy of it.
    virtual std::string ownId() = 0;
};

} // namespace zelvo::service
