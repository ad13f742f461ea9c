#include "ZelvoGateway/recordings/RecordingLibrary.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/recordings/FileWork.h"
#include "base/Hop.h"

#include <algorithm>

namespace zelvo::service {

namespace {

constexpr std::size_t maxWatched = 10'000; // Passes that are remembered as used.

Failure noRecording()
{
    return {.code = ErrorCode::notFound, .message = "There is no such recording"};
}

} // namespace

RecordingLibrary::RecordingLibrary(Store& store,
                                   std::shared_ptr<RecordingFiles const> files,
                                   ApiKey const& key,
                                   KeyRing& keys,
                                   AuditLog& audit,
                                   Settings const& settings,
                                   Clock& clock,
                                   Executor workers)
    : store(store), files(std::move(files)), passes(key), keys(keys), audit(audit), settings(settings),
      clock(clock), workers(std::move(workers))
{
}

ListedRecording
RecordingLibrary::listed(Caller const& caller, StoredRecording recording, Duration valid) const
{
    ListedRecording listed{.recording = std::move(recording)};
    if (listed.recording.stage != RecordingStage::ready)
        return listed;
    Date const until = std::min(clock.date() + dateSpan(valid), listed.recording.deletesAt);
    listed.pass = passes.issue(listed.recording.id, caller.keyId, until);
    return listed;
}

RecordingPage RecordingLibrary::list(Caller const& caller, RecordingQuery query, Duration valid)
{
    query.reach = caller.reach;
    if (query.before)
        query.before = found(caller, *query.before).id;
    std::size_t const limit = query.limit++; // One more shows whether there is a next page.
    auto stored = store.recordings(query);
    RecordingPage page;
    if (stored.size() > limit) {
        stored.resize(limit);
        page.nextBefore = stored.back().id;
    }
    for (StoredRecording& each : stored)
        page.recordings.push_back(listed(caller, std::move(each), valid));
    return page;
}

StoredRecording RecordingLibrary::found(Caller const& caller, std::string const& id)
{
    auto recording = store.recording(id);
    if (!recording || recording->stage == RecordingStage::ended)
        throw noRecording();
    auto const connection = store.connection(recording->connectionId);
    if (!connection || !caller.reaches(*connection))
        throw noRecording();
    return *std::move(recording);
}

ListedRecording RecordingLibrary::recording(Caller const& caller, std::string const& id, Duration valid)
{
    return listed(caller, found(caller, id), valid);
}

Task<ListedRecording> RecordingLibrary::remove(Caller caller, std::string id)
{
    StoredRecording recording = found(caller, id);
    if (recording.stage != RecordingStage::deleted) {
        if (!store.moveRecording(id, RecordingStage::ready, RecordingStage::deleted, clock.date()))
            throw Failure{.code = ErrorCode::invalidRequest,
                          .message = "The recording is still on its way",
                          .kind = Failure::Kind::wrongState};
        recording.stage = RecordingStage::deleted;
        if (auto const connection = store.connection(recording.connectionId))
            audit.add(caller, AuditEntry::of(*connection, "recording.deleted", {{"recordingId", id}}));
    }
    std::vector<std::string> const ids{id};
    co_await removeFiles(ids);
    co_return ListedRecording{.recording = std::move(recording)};
}

Task<std::shared_ptr<ByteSource const>> RecordingLibrary::open(std::string id, PassProof proof)
{
    if (!passes.isValid(id, proof, clock.date()) || !keys.isCurrent(proof.keyId))
        throw Failure{.code = ErrorCode::forbidden,
                      .message = "This address is wrong or its time is over; ask for the recording again"};
    auto const recording = store.recording(id);
    if (!recording || recording->stage != RecordingStage::ready)
        throw noRecording();
    auto const open = [this, &id] { return files->open(id); };
    std::shared_ptr<ByteSource const> file = co_await fileWork(workers, open, "The film can't be read now");
    if (!file)
        throw noRecording();
    noteWatched(*recording, proof);
    co_return file;
}

/// Once for each pass: a player asks for many parts.
void RecordingLibrary::noteWatched(StoredRecording const& recording, PassProof const& proof)
{
    std::erase_if(watched, [&](auto const& one) { return one.second <= clock.date(); });
    if (watched.size() >= maxWatched || !watched.emplace(proof.signature, proof.until()).second)
        return;
    if (auto const connection = store.connection(recording.connectionId))
        audit.add({.keyId = proof.keyId},
                  AuditEntry::of(*connection, "recording.watched", {{"recordingId", recording.id}}));
}

void RecordingLibrary::begin()
{
    store.endInterruptedUploads(clock.date());
    auto const ids = store.recordingsWithFiles();
    try {
        files->removeAllBut({ids.begin(), ids.end()});
    } catch (RecordingFilesError const& error) {
        if (!error.isTemporary)
            throw;
        // Everything else works without recordings.
        Log::error(std::string("starts without recordings: ") + error.what());
    }
}

Task<> RecordingLibrary::removeFiles(std::vector<std::string> ids)
{
    ids.insert(ids.end(), unremoved.begin(), unremoved.end());
    auto const remove = [this, &ids] { return removeEach(*files, ids); };
    std::set<std::string> const left = co_await on(workers, remove);
    for (std::string const& id : ids)
        unremoved.erase(id);
    unremoved.insert(left.begin(), left.end());
}

Task<> RecordingLibrary::runMaintenance()
{
    Date const now = clock.date();
    auto const ended = store.endOldRecordings(now, now - dateSpan(settings.recordings.completion));
    store.forgetEndedRecordings(now - dateSpan(settings.recordings.deletedKept));
    if (!ended.empty() || !unremoved.empty())
        co_await removeFiles(ended);
}

} // namespace zelvo::service
