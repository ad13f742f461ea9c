#pragma once

#include "ZelvoGateway/api/Endpoints.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/recordings/RecordingLibrary.h"

#include <vector>

namespace zelvo::service {

/// "/v1/recordings": lists and deletes recordings; "/films": sends them. Thread: the server's.
class RecordingApi {
public:
    RecordingApi(AccessControl const& access, RecordingLibrary& library, Settings const& settings)
        : endpoints(access), access(access), library(library), settings(settings)
    {
    }

    std::vector<Route> routes();

private:
    /// {"data", "nextBefore"?}, newest first. The query may hold "connectionId", "before" and "limit".
    Task<HttpResponse> handleList(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleRecording(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleRemove(HttpRequest request, PathIds ids);
    /// The bytes of a recording, or the part that is asked for. The address is the credential.
    Task<HttpResponse> handleBytes(HttpRequest request, PathIds ids);

    Duration addressTime(Caller const& caller) const;

    Endpoints endpoints;
    AccessControl const& access;
    RecordingLibrary& library;
    Settings const& settings;
};

} // namespace zelvo::service
