#include "ZelvoGateway/api/RecordingApi.h"

#include "ZelvoGateway/api/Lists.h"
#include "ZelvoGateway/http/RangeResponse.h"
#include "base/DateText.h"
#include "wire/records/ServiceHistory.h"

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
        record.url = address + "/films/" + recording.id + "?until=" + pass->end + "&proof=" + pass->proof;
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
    return {endpoints.platform("GET", {"v1", "recordings"}, body, *this, &RecordingApi::handleList),
            endpoints.platform("GET", one, body, *this, &RecordingApi::handleRecording),
            endpoints.platform("DELETE", one, body, *this, &RecordingApi::handleRemove),
            endpoints.open("GET", bytes, settings.limits.linkBody, *this, &RecordingApi::handleBytes),
            endpoints.open("HEAD", bytes, settings.limits.linkBody, *this, &RecordingApi::handleBytes)};
}

/// A page asks for another address when it needs one, so its own are shorter.
Duration RecordingApi::addressTime(HttpRequest const& request) const
{
    return access.hasApiKey(request) ? settings.recordings.recordingAddress
                                     : settings.console.recordingAddress;
}

Task<HttpResponse> RecordingApi::handleList(HttpRequest request, PathIds)
{
    std::string const address = access.addressFor(request);
    RecordingPage const page = library.list(queryIn(request), addressTime(request));
    json::object answer;
    if (page.nextBefore)
        answer["nextBefore"] = *page.nextBefore;
    json::array data;
    for (ListedRecording const& each : page.recordings)
        data.push_back(records::toJson(recordOf(each, address)));
    answer["data"] = std::move(data);
    co_return jsonResponse(200, answer);
}

Task<HttpResponse> RecordingApi::handleRecording(HttpRequest request, PathIds ids)
{
    std::string const address = access.addressFor(request);
    ListedRecording const listed = library.recording(ids.front(), addressTime(request));
    co_return jsonResponse(200, records::toJson(recordOf(listed, address)));
}

Task<HttpResponse> RecordingApi::handleRemove(HttpRequest, PathIds ids)
{
    ListedRecording const removed = co_await library.remove(std::move(ids.front()));
    co_return jsonResponse(200, records::toJson(recordOf(removed, "")));
}

Task<HttpResponse> RecordingApi::handleBytes(HttpRequest request, PathIds ids)
{
    std::string const id = std::move(ids.front());
    auto source = co_await library.open(id, request.queryItem("until"), request.queryItem("proof"));
    co_return rangeResponse(request, std::move(source), id, "video/mp4");
}

} // namespace zelvo::service
