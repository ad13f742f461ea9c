#pragma once

#include "ZelvoGateway/base/Metrics.h"
#include "ZelvoGateway/store/Store.h"

namespace zelvo::service {

/// Measures how long each call of a store takes, whatever engine it has. It is only there while metrics are
/// on. Thread: the server's.
class MeasuredStore final : public Store {
public:
    MeasuredStore(Store& store, Metrics& metrics) : store(store), metrics(metrics) {}

    MachineWithToken addMachine(AgentMode kind, Date now) override;
    std::string replaceToken(std::string const& machineId) override;
    std::optional<StoredMachine> machineOfToken(std::string_view token) override;
    std::optional<StoredMachine> machine(std::string const& id) override;
    std::vector<StoredMachine> machines() override;
    bool removeMachine(std::string const& id) override;
    void saveHeartbeat(std::string const& id, records::Heartbeat const& heartbeat, Date now) override;
    void setPaused(std::string const& id, bool paused, Date now) override;
    void setSeen(std::string const& id, Date now) override;
    void addConnection(StoredConnection const& connection) override;
    std::optional<StoredConnection> connection(std::string const& id) override;
    std::vector<StoredConnection> connectionsOf(std::string const& machineId) override;
    bool revoke(std::string const& id, Date now) override;
    std::vector<std::string> pendingRevocations(std::string const& machineId) override;
    void setRevocationDelivered(std::string const& id) override;
    StoredLinkSession addLinkSession(StoredLinkSession session, std::string_view code) override;
    std::optional<StoredLinkSession> linkSessionOfCode(std::string_view code) override;
    void setResolvedMachine(std::string const& sessionId, std::string const& machineId) override;
    bool finishLinkSession(std::string const& sessionId, StoredConnection const& connection) override;
    records::EndUser addEndUser(records::CreateEndUserRequest const& request, Date now) override;
    void addConsoleCode(std::string_view code, Date expiresAt) override;
    bool takeConsoleCode(std::string_view code, Date now) override;
    void addCommand(StoredCommand const& command) override;
    std::optional<StoredCommand> command(std::string const& id) override;
    std::vector<StoredCommand> waitingCommands(std::string const& machineId, Date now) override;
    QueueUse queueOfConnection(std::string const& connectionId) override;
    QueueUse queueOfMachine(std::string const& machineId) override;
    bool startCommand(std::string const& id, Date now) override;
    void requeueCommand(std::string const& id) override;
    bool endCommand(std::string const& id,
                    records::CommandStatus status,
                    CommandEnd const& end,
                    Date now) override;
    void expireCommands(Date now) override;
    void endInterruptedCommands(Date now) override;
    void forgetEndedCommands(Date oldest) override;
    void trimEndedCommands(std::string const& connectionId,
                           std::size_t maxCommands,
                           std::size_t maxBytes) override;
    void dropCommands(std::string const& connectionId) override;
    void addPausedAgent(std::string const& machineId, PausedAgent const& paused) override;
    void removePausedAgent(std::string const& machineId, std::string const& ref) override;
    void removePausedAgents(std::string const& connectionId) override;
    std::vector<PausedAgent> pausedAgents(std::string const& machineId) override;
    void setShared(std::string const& connectionId, bool shared) override;
    bool isShared(std::string const& connectionId) override;
    void addRecording(StoredRecording const& recording, std::string_view uploadSecret) override;
    std::optional<StoredRecording> recording(std::string const& id) override;
    std::optional<StoredRecording> recordingOfUpload(std::string_view secret) override;
    std::vector<StoredRecording> recordings(RecordingQuery const& query) override;
    bool moveRecording(std::string const& id, RecordingStage from, RecordingStage to, Date now) override;
    RecordingUse recordingUse() override;
    std::size_t openUploads(std::string const& connectionId) override;
    std::vector<std::string> endUploads(std::string const& connectionId, Date now) override;
    void endInterruptedUploads(Date now) override;
    std::vector<std::string> endOldRecordings(Date now, Date oldestReceived) override;
    void forgetEndedRecordings(Date oldest) override;
    std::vector<std::string> recordingsWithFiles() override;
    std::vector<std::string> recordingsWithFiles(std::string const& machineId) override;
    void forgetExpired(Date now) override;
    Page<StoredMachine> machinePage(PageQuery const& query) override;
    Page<StoredConnection> connectionPage(PageQuery const& query) override;
    Page<records::EndUser> endUserPage(PageQuery const& query) override;
    std::optional<records::EndUser> endUser(std::string const& id) override;
    Page<StoredLinkSession> linkSessionPage(PageQuery const& query) override;
    std::optional<StoredLinkSession> linkSession(std::string const& id) override;
    StoredWebhook addWebhook(StoredWebhook webhook) override;
    std::optional<StoredWebhook> webhook(std::string const& id) override;
    std::vector<StoredWebhook> webhooks() override;
    Page<StoredWebhook> webhookPage(PageQuery const& query) override;
    bool removeWebhook(std::string const& id) override;
    void saveWebhook(StoredWebhook const& webhook) override;
    std::vector<StoredDelivery>
    dueDeliveries(std::string const& webhookId, Date now, std::size_t limit) override;
    std::optional<Date> nextDelivery(std::string const& webhookId, Date after) override;
    std::optional<StoredDelivery> delivery(std::string const& id) override;
    Page<StoredDelivery> deliveryPage(std::string const& webhookId, PageQuery const& query) override;
    void saveDelivery(StoredDelivery const& delivery) override;
    void failWaiting(std::string const& webhookId, std::string_view error, Date now) override;
    void trimDeliveries(std::string const& webhookId,
                        std::size_t maxWaiting,
                        std::size_t maxEnded,
                        Date oldest,
                        Date now) override;
    void forgetUnusedEvents() override;
    void setOnline(std::string const& machineId, bool online, Date now) override;
    std::vector<std::string> onlineMachines() override;
    void onDelivery(std::function<void()> added) override;
    void saveKey(StoredKey const& key) override;
    std::vector<StoredKey> keys() override;
    bool revokeKey(std::string const& id, Date now) override;
    void setKeyUsed(std::string const& id, Date now) override;
    void forgetRevokedKeys(Date oldest) override;
    std::int64_t foreignChanges() override;
    void saveAuditEvents(std::vector<StoredAuditEvent> const& events) override;
    Page<StoredAuditEvent> auditEventPage(PageQuery const& query) override;
    void trimAuditEvents(Date oldest, std::size_t maxEvents) override;
    std::optional<StoredAnswer> beginAnswer(StoredAnswer const& begun, Date oldest) override;
    void endAnswer(StoredAnswer const& ended) override;
    void dropAnswer(std::string const& caller, std::string const& keyHash) override;
    void trimAnswers(Date oldest, std::size_t maxAnswers) override;
    void cancelCommandsOfKey(std::string const& id, Date now) override;
    Backlog backlog() override;
    void assertReadable() override;
    std::uint64_t reserveNumbers(std::uint64_t count) override;
    std::string ownId() override;

private:
    template <class Call>
    auto measured(char const* operation, Call const& call);

    Store& store;
    Metrics& metrics;
};

} // namespace zelvo::service
