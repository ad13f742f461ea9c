#include "ZelvoGateway/http/HttpError.h"

#include "wire/records/ServiceMachines.h"

namespace zelvo::service {

int statusOf(ErrorCode code)
{
    switch (code) {
    case ErrorCode::invalidRequest:
        return 400;
    case ErrorCode::unauthorized:
        return 401;
    case ErrorCode::deniedByUser:
    case ErrorCode::forbidden:
    case ErrorCode::hiddenAppActive:
    case ErrorCode::recordingNotShared:
    case ErrorCode::scopeDenied:
    case ErrorCode::zelvoUIProtected:
        return 403;
    case ErrorCode::notFound:
        return 404;
    case ErrorCode::confirmationTimeout:
        return 408;
    case ErrorCode::agentPaused:
    case ErrorCode::appNotFrontmost:
    case ErrorCode::leaseNotActive:
    case ErrorCode::machineAlreadyLinkedToOtherUser:
    case ErrorCode::machinePaused:
    case ErrorCode::permissionMissing:
    case ErrorCode::staleView:
        return 409;
    case ErrorCode::linkSessionExpired:
    case ErrorCode::snapshotExpired:
        return 410;
    case ErrorCode::machineBusy:
        return 423;
    case ErrorCode::appUpdateRequired:
        return 426;
    case ErrorCode::rateLimited:
        return 429;
    case ErrorCode::internalError: // The machine's own failure. The gateway's own is 500; see
                                   // internalError().
        return 502;
    case ErrorCode::machineOffline:
    case ErrorCode::machineUnavailable:
    case ErrorCode::recordingsUnavailable:
        return 503;
    case ErrorCode::timeout:
        return 504;
    }
    return 500;
}

namespace {

int statusOfFailure(Failure const& failure)
{
    switch (failure.kind) {
    case Failure::Kind::tooLarge:
        return 413;
    case Failure::Kind::wrongState:
        return 409;
    case Failure::Kind::incomplete:
        return 422;
    case Failure::Kind::usual:
        break;
    }
    return statusOf(failure.code);
}

constexpr Duration waitWhenBusy = 5s;
constexpr Duration waitForMachine = 30s;    // An agent tries to connect again at least this often.
constexpr Duration waitForRecordings = 60s; // Room is made once a minute.

/// How long a caller should wait before another try; 0 if nobody knows.
Duration waitAfter(HttpError const& error)
{
    if (error.retryAfter > Duration())
        return error.retryAfter;
    if (error.status == 429)
        return waitWhenBusy;
    if (error.status != 503)
        return {};
    return error.code == ErrorCode::recordingsUnavailable ? waitForRecordings : waitForMachine;
}

std::int64_t wholeSeconds(Duration time)
{
    return std::chrono::ceil<std::chrono::seconds>(time).count();
}

} // namespace

HttpError badRequest(std::string message)
{
    return {.status = 400, .code = ErrorCode::invalidRequest, .message = std::move(message)};
}

HttpError internalError(std::exception const& error)
{
    return {.message = "Internal error", .reason = error.what()};
}

HttpError httpErrorOf(Failure const& failure)
{
    return {.status = statusOfFailure(failure),
            .code = failure.code,
            .message = failure.message,
            .details = failure.details,
            .requestId = failure.requestId,
            .wasNotStarted = failure.wasNotStarted};
}

HttpResponse errorResponse(HttpError const& error)
{
    records::APIError body;
    body.error.code = error.code;
    body.error.message = error.message;
    body.error.details = error.details;
    body.error.requestId = error.requestId;
    HttpResponse response = jsonResponse(error.status, records::toJson(body));
    response.headers.emplace_back(requestIdHeader, error.requestId);
    if (error.status == 401)
        response.headers.emplace_back("WWW-Authenticate", "Bearer");
    if (Duration const wait = waitAfter(error); wait > Duration())
        response.headers.emplace_back("Retry-After", std::to_string(wholeSeconds(wait)));
    if (error.isReplayed)
        response.headers.emplace_back(replayHeader, "true");
    return response;
}

} // namespace zelvo::service
