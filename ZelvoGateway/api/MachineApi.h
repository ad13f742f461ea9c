#pragma once

#include "ZelvoGateway/api/Endpoints.h"
#include "ZelvoGateway/control/LinkService.h"
#include "ZelvoGateway/machines/MachineSocket.h"
#include "ZelvoGateway/recordings/RecordingIntake.h"

#include <utility>
#include <vector>

namespace zelvo::service {

/// "/machines": what agents call to link their machine, to connect it and to hand over recordings;
/// "/uploads": the bodies of those. Thread: the server's.
class MachineApi {
public:
    MachineApi(AccessControl const& access,
               LinkService& links,
               RecordingIntake& intake,
               MachineSocketParts sockets)
        : endpoints(access), access(access), links(links), intake(intake), sockets(std::move(sockets)),
          wrongTokens(this->sockets.clock, this->sockets.settings.wrongTokens),
          arrivals(this->sockets.clock, this->sockets.settings.rates.maxNames)
    {
    }

    std::vector<Route> routes();

private:
    /// The machine whose token the head carries. Throws Failure: unauthorized, appUpdateRequired; HttpError
    /// 429 for an address that has tried too many wrong tokens.
    StoredMachine machineOf(HttpRequest const& head);
    void assertMayConnect(std::string const& machineId);
    Upgrade admitSocket(HttpRequest const& head);
    Task<> serveSocket(std::shared_ptr<UpgradedConnection> connection, std::string machineId);
    std::shared_ptr<BodySink> receiveUpload(std::string const& secret, HttpRequest const& head);

    /// {"token", "appVersion", "macosVersion", "machineToken"?}. The answer has a "machineToken" only if the
    /// agent's own can't be used.
    Task<HttpResponse> handleResolve(HttpRequest request, PathIds ids);
    /// {"token", "machineToken", "grantedScopes"} gives {"connectionId"}.
    Task<HttpResponse> handleComplete(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleConnect(HttpRequest request, PathIds ids);
    /// {"connectionId", "durationSec", "sizeBytes"} gives {"recordingId", "uploadUrl"}.
    Task<HttpResponse> handleAnnounce(HttpRequest request, PathIds ids);
    /// {"recordingId"} gives {"recordingId", "status"}.
    Task<HttpResponse> handleCompleteRecording(HttpRequest request, PathIds ids);
    /// {"connectionId", "shared"}, which is also the answer.
    Task<HttpResponse> handleSharing(HttpRequest request, PathIds ids);

    Endpoints endpoints;
    AccessControl const& access;
    LinkService& links;
    RecordingIntake& intake;
    MachineSocketParts sockets;
    AttemptLimiter wrongTokens;
    RateLimiter arrivals; // Of machines, by id.
};

} // namespace zelvo::service
