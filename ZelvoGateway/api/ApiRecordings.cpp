#include "ZelvoGateway/api/Api.h"
#include "ZelvoGateway/console/ConsolePage.h"

namespace zelvo::service {

Task<HttpResponse> Api::handleRecordingsPage(HttpRequest request, Ids)
{
    co_return access.hasCookie(request) ? recordingsPage() : lockedPage();
}

Task<HttpResponse> Api::handleAnnounce(HttpRequest request, Ids)
{
    StoredMachine const machine = admitMachine(request);
    co_return jsonResponse(200, intake.announce(machine, objectOf(request.body), access.addressFor(request)));
}

std::shared_ptr<BodySink> Api::receiveUpload(HttpRequest const& head, Ids const& ids)
{
    return intake.receive(ids.front(), head);
}

Task<HttpResponse> Api::handleComplete(HttpRequest request, Ids)
{
    StoredMachine const machine = admitMachine(request);
    StoredRecording const recording = intake.complete(machine, objectOf(request.body));
    co_return jsonResponse(200, json::object{{"recordingId", recording.id}, {"status", "ready"}});
}

Task<HttpResponse> Api::handleSharing(HttpRequest request, Ids)
{
    StoredMachine machine = admitMachine(request);
    json::object const answer = co_await intake.share(std::move(machine), objectOf(request.body));
    co_return jsonResponse(200, answer);
}

Task<HttpResponse> Api::handleRecordings(HttpRequest request, Ids)
{
    co_return jsonResponse(200, library.list(request, access.addressFor(request)));
}

Task<HttpResponse> Api::handleRecording(HttpRequest request, Ids ids)
{
    records::Recording const recording = library.recording(ids.front(), access.addressFor(request));
    co_return jsonResponse(200, records::toJson(recording));
}

Task<HttpResponse> Api::handleRemoveRecording(HttpRequest, Ids ids)
{
    records::Recording const recording = co_await library.remove(std::move(ids.front()));
    co_return jsonResponse(200, records::toJson(recording));
}

Task<HttpResponse> Api::handleRecordingFile(HttpRequest request, Ids ids)
{
    co_return library.film(request, ids.front());
}

} // namespace zelvo::service
