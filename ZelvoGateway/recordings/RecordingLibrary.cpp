#include "ZelvoGateway/recordings/RecordingLibrary.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/http/ByteRange.h"
#include "base/DateText.h"
#include "base/Hop.h"

#include <charconv>

namespace zelvo::service {

namespace {

constexpr std::size_t maxListed = 200;

std::chrono::microseconds length(Duration time)
{
    return std::chrono::duration_cast<std::chrono::microseconds>(time);
}

Failure noRecording()
{
    return {.code = ErrorCode::notFound, .message = "There is no such recording"};
}

std::size_t limitFrom(std::string const& text)
{
    std::size_t limit = 0;
    auto const read = std::from_chars(text.data(), text.data() + text.size(), limit);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size() || limit < 1 || limit > maxListed)
        throw Failure{.code = ErrorCode::invalidRequest, .message = "\"limit\" must be from 1 to 200"};
    return limit;
}

records::RecordingStatus statusOf(RecordingStage stage)
{
    if (stage == RecordingStage::ready)
        return records::RecordingStatus::ready;
    return stage == RecordingStage::deleted ? records::RecordingStatus::deleted
                                            : records::RecordingStatus::processing;
}

} // namespace

RecordingLibrary::RecordingLibrary(Store& store,
                                   std::shared_ptr<RecordingFolder const> folder,
                                   ApiKey const& key,
                                   Settings const& settings,
                                   Clock& clock,
                                   Executor workers)
    : store(store), folder(std::move(folder)), addresses(key), settings(settings), clock(clock),
      workers(std::move(workers))
{
}

records::Recording RecordingLibrary::recordOf(StoredRecording const& recording,
                                              std::string const& address) const
{
    records::Recording record;
    record.createdAt = dates::iso8601(recording.createdAt);
    record.deletesAt = dates::iso8601(recording.deletesAt);
    record.durationSEC = recording.durationSec;
    record.id = recording.id;
    record.status = statusOf(recording.stage);
    record.target = recording.connectionId;
    if (recording.stage != RecordingStage::ready)
        return record;
    Date const until =
        std::min(clock.date() + length(settings.recordings.recordingAddress), recording.deletesAt);
    record.expiresAt = dates::iso8601(until);
    record.url = address + addresses.path(recording.id, until);
    return record;
}

json::object RecordingLibrary::list(HttpRequest const& request, std::string const& address)
{
    RecordingQuery query;
    if (request.query.contains("connectionId"))
        query.connectionId = request.queryItem("connectionId");
    if (request.query.contains("before"))
        query.before = found(request.queryItem("before")).id;
    if (request.query.contains("limit"))
        query.limit = limitFrom(request.queryItem("limit"));
    std::size_t const limit = query.limit++; // One more tells whether there are more.
    auto stored = store.recordings(query);
    json::object answer;
    if (stored.size() > limit) {
        stored.resize(limit);
        answer["nextBefore"] = stored.back().id;
    }
    json::array data;
    for (StoredRecording const& each : stored)
        data.push_back(records::toJson(recordOf(each, address)));
    answer["data"] = std::move(data);
    return answer;
}

StoredRecording RecordingLibrary::found(std::string const& id)
{
    auto recording = store.recording(id);
    if (!recording || recording->stage == RecordingStage::ended)
        throw noRecording();
    return *std::move(recording);
}

records::Recording RecordingLibrary::recording(std::string const& id, std::string const& address)
{
    return recordOf(found(id), address);
}

Task<records::Recording> RecordingLibrary::remove(std::string id)
{
    StoredRecording recording = found(id);
    if (recording.stage != RecordingStage::deleted) {
        if (!store.moveRecording(id, RecordingStage::ready, RecordingStage::deleted, clock.date()))
            throw Failure{.code = ErrorCode::invalidRequest,
                          .message = "The recording is still on its way",
                          .status = 409};
        recording.stage = RecordingStage::deleted;
    }
    std::vector<std::string> const ids{id};
    co_await removeFiles(ids);
    co_return recordOf(recording, "");
}

HttpResponse RecordingLibrary::film(HttpRequest const& request, std::string const& id)
{
    if (!addresses.isGood(id, request.queryItem("until"), request.queryItem("proof"), clock.date()))
        throw Failure{.code = ErrorCode::forbidden,
                      .message = "This address is wrong or its time is over; ask for the recording again"};
    auto const recording = store.recording(id);
    auto const file = recording && recording->stage == RecordingStage::ready ? folder->open(id) : nullptr;
    if (!file)
        throw noRecording();
    std::string const tag = "\"" + id + "\"";
    // A film never changes, so a part of it always fits what the caller has, unless that is another film.
    bool const fits = !request.headers.contains("if-range") || request.header("if-range") == tag;
    std::string const wanted = fits ? request.header("range") : std::string();
    ByteRange const range = byteRange(wanted, file->size());
    HttpResponse response{.contentType = "video/mp4"};
    response.headers = {{"Accept-Ranges", "bytes"}, {"ETag", tag}};
    if (range.kind == ByteRange::Kind::nothing) {
        response.status = 416;
        response.headers.emplace_back("Content-Range", "bytes */" + std::to_string(file->size()));
        return response;
    }
    if (range.kind == ByteRange::Kind::part) {
        response.status = 206;
        response.headers.emplace_back("Content-Range", "bytes " + std::to_string(range.first) + "-" +
                                                           std::to_string(range.first + range.length - 1) +
                                                           "/" + std::to_string(file->size()));
    }
    response.file = FilePart{.file = file, .offset = range.first, .length = range.length};
    return response;
}

void RecordingLibrary::begin()
{
    store.endInterruptedUploads(clock.date());
    auto const ids = store.recordingsThatStay();
    folder->removeAllBut({ids.begin(), ids.end()});
}

Task<> RecordingLibrary::removeFiles(std::vector<std::string> ids)
{
    auto const remove = [this, &ids] {
        for (std::string const& id : ids)
            folder->remove(id);
    };
    co_await on(workers, remove);
}

Task<> RecordingLibrary::tidy()
{
    Date const now = clock.date();
    auto const ended = store.endOldRecordings(now, now - length(settings.recordings.completion));
    store.forgetEndedRecordings(now - length(settings.recordings.deletedKept));
    if (!ended.empty())
        co_await removeFiles(ended);
}

} // namespace zelvo::service
