#include "ZelvoGateway/api/RecordingApi.h"

#include "ZelvoGateway/api/Lists.h"
#include "ZelvoGateway/http/RangeResponse.h"
#include "base/DateText.h"
#include "wire/records/ServiceLists.h"

namespace zelvo::service {

namespace {

records::RecordingStatus statusOf(RecordingStage stage)
{
    if (stage == RecordingStage::ready)
        return records::RecordingStatus::ready;
    return stage == RecordingStage::deleted ? records::RecordingStatus::deleted
                                            : records::RecordingStatus::processing;
}

/// address   where the caller reaches this gateway; the recording's address begins with it
records::Recording recordOf(ListedRecording const& listed, std::string const& address)
{
    StoredRecording const& recording = listed.recording;
    records::Recording record;
    record.createdAt = dates::iso8601(recording.createdAt);
    record.deletesAt = dates::iso8601(recording.deletesAt);
    record.durationSEC = recording.durationSec;
    record.id = recording.id;
    record.status = statusOf(recording.stage);
    record.target = recording.connectionId;
    if (auto const& pass = listed.pass) {
        record.expiresAt = dates::iso8601(pass->until);
        PassProof const& proof = pass->proof;
        record.url = address + "/films/" + recording.id + "?until=" + proof.end + "&key=" + proof.keyId +
                     "&proof=" + proof.signature;
    }
    return record;
}

RecordingQuery queryIn(HttpRequest const& request)
{
    RecordingQuery query;
    if (request.query.contains("connectionId"))
        query.connectionId = request.queryItem("connectionId");
    if (request.query.contains("before"))
        query.before = request.queryItem("before");
    query.limit = limitIn(request);
    return query;
}

} // namespace

std::vector<Route> RecordingApi::routes()
{
    std::size_t const body = settings.limits.smallBody;
    std::vector<std::string_view> const one{"v1", "recordings", "*"};
    std::vector<std::string_view> const bytes{"films", "*"};
    Describe const list = Describe("listRecordings", "Lists recordings, newest first")
                              .listed({{"connectionId", "Only those of this connection"}})
                              .gives<records::RecordingList>("A page")
                              .fails({ErrorCode::notFound});
    Describe const show = Describe("getRecording", "Shows a recording, with a fresh address")
                              .at({"recordingId"})
                              .gives<records::Recording>("The recording")
                              .fails({ErrorCode::notFound});
    Describe const remove = Describe("removeRecording", "Deletes a recording for good")
                                .at({"recordingId"})
                                .gives<records::Recording>("The deleted recording")
                                .fails({ErrorCode::notFound})
                                .conflicts();
    return {endpoints.platform("GET", {"v1", "recordings"}, body, *this, &RecordingApi::handleList, list),
            endpoints.platform("GET", one, body, *this, &RecordingApi::handleRecording, show),
            endpoints.platform("DELETE", one, body, *this, &RecordingApi::handleRemove, remove),
            endpoints.open("GET", bytes, settings.limits.linkBody, *this, &RecordingApi::handleBytes),
            endpoints.open("HEAD", bytes, settings.limits.linkBody, *this, &RecordingApi::handleBytes)};
}

/// A page asks for another address when it needs one, so its own are shorter.
Duration RecordingApi::addressTime(Caller const& caller) const
{
    return caller.isConsole() ? settings.console.recordingAddress : settings.recordings.recordingAddress;
}

Task<HttpResponse> RecordingApi::handleList(HttpRequest request, PathIds)
{
    std::string const address = access.addressFor(request);
    Caller const caller = access.callerOf(request);
    RecordingPage const page = library.list(caller, queryIn(request), addressTime(caller));
    records::RecordingList answer{.nextBefore = page.nextBefore};
    for (ListedRecording const& each : page.recordings)
        answer.data.push_back(recordOf(each, address));
    co_return jsonResponse(200, records::toJson(std::move(answer)));
}

Task<HttpResponse> RecordingApi::handleRecording(HttpRequest request, PathIds ids)
{
    std::string const address = access.addressFor(request);
    Caller const caller = access.callerOf(request);
    ListedRecording const listed = library.recording(caller, ids.front(), addressTime(caller));
    co_return jsonResponse(200, records::toJson(recordOf(listed, address)));
}

Task<HttpResponse> RecordingApi::handleRemove(HttpRequest request, PathIds ids)
{
    Caller caller = access.callerOf(request);
    ListedRecording const removed = co_await library.remove(std::move(caller), std::move(ids.front()));
    co_return jsonResponse(200, records::toJson(recordOf(removed, "")));
}

Task<HttpResponse> RecordingApi::handleBytes(HttpRequest request, PathIds ids)
{
    std::string const id = std::move(ids.front());
    PassProof proof{.end = request.queryItem("until"),
                    .keyId = request.queryItem("key"),
                    .signature = request.queryItem("proof")};
    auto source = co_await library.open(id, std::move(proof));
    co_return rangeResponse(request, std::move(source), id, "video/mp4");
}

} // namespace zelvo::service
