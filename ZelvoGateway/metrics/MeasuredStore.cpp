#include "ZelvoGateway/metrics/MeasuredStore.h"

#include <chrono>

namespace zelvo::service {

namespace {

using Time = std::chrono::steady_clock;

/// Reports the time of its scope.
class Stopwatch {
public:
    Stopwatch(Metrics& metrics, char const* operation) : metrics(metrics), operation(operation) {}
    Stopwatch(Stopwatch const&) = delete;
    Stopwatch& operator=(Stopwatch const&) = delete;
    ~Stopwatch() { metrics.usedStore(operation, Time::now() - began); }

private:
    Metrics& metrics;
    char const* operation;
    Time::time_point began = Time::now();
};

} // namespace

template <class Call>
auto MeasuredStore::measured(char const* operation, Call const& call)
{
    Stopwatch const watch(metrics, operation);
    try {
        return call();
    } catch (StoreError const&) {
        metrics.storeFailed();
        throw;
    }
}

MachineWithToken MeasuredStore::addMachine(AgentMode kind, Date now)
{
    return measured("addMachine", [&] { return store.addMachine(kind, now); });
}

std::string MeasuredStore::replaceToken(std::string const& machineId)
{
    return measured("replaceToken", [&] { return store.replaceToken(machineId); });
}

std::optional<StoredMachine> MeasuredStore::machineOfToken(std::string_view token)
{
    return measured("machineOfToken", [&] { return store.machineOfToken(token); });
}

std::optional<StoredMachine> MeasuredStore::machine(std::string const& id)
{
    return measured("machine", [&] { return store.machine(id); });
}

std::vector<StoredMachine> MeasuredStore::machines()
{
    return measured("machines", [&] { return store.machines(); });
}

bool MeasuredStore::removeMachine(std::string const& id)
{
    return measured("removeMachine", [&] { return store.removeMachine(id); });
}

void MeasuredStore::saveHeartbeat(std::string const& id, records::Heartbeat const& heartbeat, Date now)
{
    return measured("saveHeartbeat", [&] { return store.saveHeartbeat(id, heartbeat, now); });
}

void MeasuredStore::setPaused(std::string const& id, bool paused, Date now)
{
    return measured("setPaused", [&] { return store.setPaused(id, paused, now); });
}

void MeasuredStore::setSeen(std::string const& id, Date now)
{
    return measured("setSeen", [&] { return store.setSeen(id, now); });
}

void MeasuredStore::addConnection(StoredConnection const& connection)
{
    return measured("addConnection", [&] { return store.addConnection(connection); });
}

std::optional<StoredConnection> MeasuredStore::connection(std::string const& id)
{
    return measured("connection", [&] { return store.connection(id); });
}

std::vector<StoredConnection> MeasuredStore::connectionsOf(std::string const& machineId)
{
    return measured("connectionsOf", [&] { return store.connectionsOf(machineId); });
}

bool MeasuredStore::revoke(std::string const& id, Date now)
{
    return measured("revoke", [&] { return store.revoke(id, now); });
}

std::vector<std::string> MeasuredStore::pendingRevocations(std::string const& machineId)
{
    return measured("pendingRevocations", [&] { return store.pendingRevocations(machineId); });
}

void MeasuredStore::setRevocationDelivered(std::string const& id)
{
    return measured("setRevocationDelivered", [&] { return store.setRevocationDelivered(id); });
}

StoredLinkSession MeasuredStore::addLinkSession(StoredLinkSession session, std::string_view code)
{
    return measured("addLinkSession", [&] { return store.addLinkSession(std::move(session), code); });
}

std::optional<StoredLinkSession> MeasuredStore::linkSessionOfCode(std::string_view code)
{
    return measured("linkSessionOfCode", [&] { return store.linkSessionOfCode(code); });
}

void MeasuredStore::setResolvedMachine(std::string const& sessionId, std::string const& machineId)
{
    return measured("setResolvedMachine", [&] { return store.setResolvedMachine(sessionId, machineId); });
}

bool MeasuredStore::finishLinkSession(std::string const& sessionId, StoredConnection const& connection)
{
    return measured("finishLinkSession", [&] { return store.finishLinkSession(sessionId, connection); });
}

records::EndUser MeasuredStore::addEndUser(records::CreateEndUserRequest const& request, Date now)
{
    return measured("addEndUser", [&] { return store.addEndUser(request, now); });
}

void MeasuredStore::addConsoleCode(std::string_view code, Date expiresAt)
{
    return measured("addConsoleCode", [&] { return store.addConsoleCode(code, expiresAt); });
}

bool MeasuredStore::takeConsoleCode(std::string_view code, Date now)
{
    return measured("takeConsoleCode", [&] { return store.takeConsoleCode(code, now); });
}

void MeasuredStore::addCommand(StoredCommand const& command)
{
    return measured("addCommand", [&] { return store.addCommand(command); });
}

std::optional<StoredCommand> MeasuredStore::command(std::string const& id)
{
    return measured("command", [&] { return store.command(id); });
}

std::vector<StoredCommand> MeasuredStore::waitingCommands(std::string const& machineId, Date now)
{
    return measured("waitingCommands", [&] { return store.waitingCommands(machineId, now); });
}

QueueUse MeasuredStore::queueOfConnection(std::string const& connectionId)
{
    return measured("queueOfConnection", [&] { return store.queueOfConnection(connectionId); });
}

QueueUse MeasuredStore::queueOfMachine(std::string const& machineId)
{
    return measured("queueOfMachine", [&] { return store.queueOfMachine(machineId); });
}

bool MeasuredStore::startCommand(std::string const& id, Date now)
{
    return measured("startCommand", [&] { return store.startCommand(id, now); });
}

void MeasuredStore::requeueCommand(std::string const& id)
{
    return measured("requeueCommand", [&] { return store.requeueCommand(id); });
}

bool MeasuredStore::endCommand(std::string const& id,
                               records::CommandStatus status,
                               CommandEnd const& end,
                               Date now)
{
    return measured("endCommand", [&] { return store.endCommand(id, status, end, now); });
}

void MeasuredStore::expireCommands(Date now)
{
    return measured("expireCommands", [&] { return store.expireCommands(now); });
}

void MeasuredStore::endInterruptedCommands(Date now)
{
    return measured("endInterruptedCommands", [&] { return store.endInterruptedCommands(now); });
}

void MeasuredStore::forgetEndedCommands(Date oldest)
{
    return measured("forgetEndedCommands", [&] { return store.forgetEndedCommands(oldest); });
}

void MeasuredStore::trimEndedCommands(std::string const& connectionId,
                                      std::size_t maxCommands,
                                      std::size_t maxBytes)
{
    return measured("trimEndedCommands",
                    [&] { return store.trimEndedCommands(connectionId, maxCommands, maxBytes); });
}

void MeasuredStore::dropCommands(std::string const& connectionId)
{
    return measured("dropCommands", [&] { return store.dropCommands(connectionId); });
}

void MeasuredStore::addPausedAgent(std::string const& machineId, PausedAgent const& paused)
{
    return measured("addPausedAgent", [&] { return store.addPausedAgent(machineId, paused); });
}

void MeasuredStore::removePausedAgent(std::string const& machineId, std::string const& ref)
{
    return measured("removePausedAgent", [&] { return store.removePausedAgent(machineId, ref); });
}

void MeasuredStore::removePausedAgents(std::string const& connectionId)
{
    return measured("removePausedAgents", [&] { return store.removePausedAgents(connectionId); });
}

std::vector<PausedAgent> MeasuredStore::pausedAgents(std::string const& machineId)
{
    return measured("pausedAgents", [&] { return store.pausedAgents(machineId); });
}

void MeasuredStore::setShared(std::string const& connectionId, bool shared)
{
    return measured("setShared", [&] { return store.setShared(connectionId, shared); });
}

bool MeasuredStore::isShared(std::string const& connectionId)
{
    return measured("isShared", [&] { return store.isShared(connectionId); });
}

void MeasuredStore::addRecording(StoredRecording const& recording, std::string_view uploadSecret)
{
    return measured("addRecording", [&] { return store.addRecording(recording, uploadSecret); });
}

std::optional<StoredRecording> MeasuredStore::recording(std::string const& id)
{
    return measured("recording", [&] { return store.recording(id); });
}

std::optional<StoredRecording> MeasuredStore::recordingOfUpload(std::string_view secret)
{
    return measured("recordingOfUpload", [&] { return store.recordingOfUpload(secret); });
}

std::vector<StoredRecording> MeasuredStore::recordings(RecordingQuery const& query)
{
    return measured("recordings", [&] { return store.recordings(query); });
}

bool MeasuredStore::moveRecording(std::string const& id, RecordingStage from, RecordingStage to, Date now)
{
    return measured("moveRecording", [&] { return store.moveRecording(id, from, to, now); });
}

RecordingUse MeasuredStore::recordingUse()
{
    return measured("recordingUse", [&] { return store.recordingUse(); });
}

std::size_t MeasuredStore::openUploads(std::string const& connectionId)
{
    return measured("openUploads", [&] { return store.openUploads(connectionId); });
}

std::vector<std::string> MeasuredStore::endUploads(std::string const& connectionId, Date now)
{
    return measured("endUploads", [&] { return store.endUploads(connectionId, now); });
}

void MeasuredStore::endInterruptedUploads(Date now)
{
    return measured("endInterruptedUploads", [&] { return store.endInterruptedUploads(now); });
}

std::vector<std::string> MeasuredStore::endOldRecordings(Date now, Date oldestReceived)
{
    return measured("endOldRecordings", [&] { return store.endOldRecordings(now, oldestReceived); });
}

void MeasuredStore::forgetEndedRecordings(Date oldest)
{
    return measured("forgetEndedRecordings", [&] { return store.forgetEndedRecordings(oldest); });
}

std::vector<std::string> MeasuredStore::recordingsWithFiles()
{
    return measured("recordingsWithFiles", [&] { return store.recordingsWithFiles(); });
}

std::vector<std::string> MeasuredStore::recordingsWithFiles(std::string const& machineId)
{
    return measured("recordingsWithFiles", [&] { return store.recordingsWithFiles(machineId); });
}

void MeasuredStore::forgetExpired(Date now)
{
    return measured("forgetExpired", [&] { return store.forgetExpired(now); });
}

Page<StoredMachine> MeasuredStore::machinePage(PageQuery const& query)
{
    return measured("machinePage", [&] { return store.machinePage(query); });
}

Page<StoredConnection> MeasuredStore::connectionPage(PageQuery const& query)
{
    return measured("connectionPage", [&] { return store.connectionPage(query); });
}

Page<records::EndUser> MeasuredStore::endUserPage(PageQuery const& query)
{
    return measured("endUserPage", [&] { return store.endUserPage(query); });
}

std::optional<records::EndUser> MeasuredStore::endUser(std::string const& id)
{
    return measured("endUser", [&] { return store.endUser(id); });
}

Page<StoredLinkSession> MeasuredStore::linkSessionPage(PageQuery const& query)
{
    return measured("linkSessionPage", [&] { return store.linkSessionPage(query); });
}

std::optional<StoredLinkSession> MeasuredStore::linkSession(std::string const& id)
{
    return measured("linkSession", [&] { return store.linkSession(id); });
}

StoredWebhook MeasuredStore::addWebhook(StoredWebhook webhook)
{
    return measured("addWebhook", [&] { return store.addWebhook(std::move(webhook)); });
}

std::optional<StoredWebhook> MeasuredStore::webhook(std::string const& id)
{
    return measured("webhook", [&] { return store.webhook(id); });
}

std::vector<StoredWebhook> MeasuredStore::webhooks()
{
    return measured("webhooks", [&] { return store.webhooks(); });
}

Page<StoredWebhook> MeasuredStore::webhookPage(PageQuery const& query)
{
    return measured("webhookPage", [&] { return store.webhookPage(query); });
}

bool MeasuredStore::removeWebhook(std::string const& id)
{
    return measured("removeWebhook", [&] { return store.removeWebhook(id); });
}

void MeasuredStore::saveWebhook(StoredWebhook const& webhook)
{
    return measured("saveWebhook", [&] { return store.saveWebhook(webhook); });
}

std::vector<StoredDelivery>
MeasuredStore::dueDeliveries(std::string const& webhookId, Date now, std::size_t limit)
{
    return measured("dueDeliveries", [&] { return store.dueDeliveries(webhookId, now, limit); });
}

std::optional<Date> MeasuredStore::nextDelivery(std::string const& webhookId, Date after)
{
    return measured("nextDelivery", [&] { return store.nextDelivery(webhookId, after); });
}

std::optional<StoredDelivery> MeasuredStore::delivery(std::string const& id)
{
    return measured("delivery", [&] { return store.delivery(id); });
}

Page<StoredDelivery> MeasuredStore::deliveryPage(std::string const& webhookId, PageQuery const& query)
{
    return measured("deliveryPage", [&] { return store.deliveryPage(webhookId, query); });
}

void MeasuredStore::saveDelivery(StoredDelivery const& delivery)
{
    return measured("saveDelivery", [&] { return store.saveDelivery(delivery); });
}

void MeasuredStore::failWaiting(std::string const& webhookId, std::string_view error, Date now)
{
    return measured("failWaiting", [&] { return store.failWaiting(webhookId, error, now); });
}

void MeasuredStore::trimDeliveries(
    std::string const& webhookId, std::size_t maxWaiting, std::size_t maxEnded, Date oldest, Date now)
{
    return measured("trimDeliveries",
                    [&] { return store.trimDeliveries(webhookId, maxWaiting, maxEnded, oldest, now); });
}

void MeasuredStore::forgetUnusedEvents()
{
    return measured("forgetUnusedEvents", [&] { return store.forgetUnusedEvents(); });
}

void MeasuredStore::setOnline(std::string const& machineId, bool online, Date now)
{
    return measured("setOnline", [&] { return store.setOnline(machineId, online, now); });
}

std::vector<std::string> MeasuredStore::onlineMachines()
{
    return measured("onlineMachines", [&] { return store.onlineMachines(); });
}

void MeasuredStore::onDelivery(std::function<void()> added)
{
    store.onDelivery(std::move(added));
}

void MeasuredStore::saveKey(StoredKey const& key)
{
    return measured("saveKey", [&] { return store.saveKey(key); });
}

std::vector<StoredKey> MeasuredStore::keys()
{
    return measured("keys", [&] { return store.keys(); });
}

bool MeasuredStore::revokeKey(std::string const& id, Date now)
{
    return measured("revokeKey", [&] { return store.revokeKey(id, now); });
}

void MeasuredStore::setKeyUsed(std::string const& id, Date now)
{
    return measured("setKeyUsed", [&] { return store.setKeyUsed(id, now); });
}

void MeasuredStore::forgetRevokedKeys(Date oldest)
{
    return measured("forgetRevokedKeys", [&] { return store.forgetRevokedKeys(oldest); });
}

std::int64_t MeasuredStore::foreignChanges()
{
    return measured("foreignChanges", [&] { return store.foreignChanges(); });
}

void MeasuredStore::saveAuditEvents(std::vector<StoredAuditEvent> const& events)
{
    return measured("saveAuditEvents", [&] { return store.saveAuditEvents(events); });
}

Page<StoredAuditEvent> MeasuredStore::auditEventPage(PageQuery const& query)
{
    return measured("auditEventPage", [&] { return store.auditEventPage(query); });
}

void MeasuredStore::trimAuditEvents(Date oldest, std::size_t maxEvents)
{
    return measured("trimAuditEvents", [&] { return store.trimAuditEvents(oldest, maxEvents); });
}

std::optional<StoredAnswer> MeasuredStore::beginAnswer(StoredAnswer const& begun, Date oldest)
{
    return measured("beginAnswer", [&] { return store.beginAnswer(begun, oldest); });
}

void MeasuredStore::endAnswer(StoredAnswer const& ended)
{
    return measured("endAnswer", [&] { return store.endAnswer(ended); });
}

void MeasuredStore::dropAnswer(std::string const& caller, std::string const& keyHash)
{
    return measured("dropAnswer", [&] { return store.dropAnswer(caller, keyHash); });
}

void MeasuredStore::trimAnswers(Date oldest, std::size_t maxAnswers)
{
    return measured("trimAnswers", [&] { return store.trimAnswers(oldest, maxAnswers); });
}

void MeasuredStore::cancelCommandsOfKey(std::string const& id, Date now)
{
    return measured("cancelCommandsOfKey", [&] { return store.cancelCommandsOfKey(id, now); });
}

Backlog MeasuredStore::backlog()
{
    return measured("backlog", [&] { return store.backlog(); });
}

void MeasuredStore::assertReadable()
{
    return measured("assertReadable", [&] { return store.assertReadable(); });
}

std::uint64_t MeasuredStore::reserveNumbers(std::uint64_t count)
{
    return measured("reserveNumbers", [&] { return store.reserveNumbers(count); });
}

std::string MeasuredStore::ownId()
{
    return measured("ownId", [&] { return store.ownId(); });
}

} // namespace zelvo::service
