#include "ZelvoGateway/http/HttpError.h"

#include "ZelvoGateway/base/Secrets.h"
#include "wire/records/ServiceMachines.h"

#include <iostream>

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
    std::cerr << "zelvo-gateway: " << error.what() << std::endl;
    return {.message = "Internal error"};
}

HttpError httpErrorOf(Failure const& failure)
{
    return {.status = statusOfFailure(failure),
            .code = failure.code,
            .message = failure.message,
            .details = failure.details,
            .requestId = failure.requestId};
}

HttpResponse errorResponse(HttpError const& error)
{
    records::APIError body;
    body.error.code = error.code;
    body.error.message = error.message;
    body.error.details = error.details;
    body.error.requestId = error.requestId.empty() ? newId("req") : error.requestId;
    HttpResponse response = jsonResponse(error.status, records::toJson(body));
    if (error.status == 401)
        response.headers.emplace_back("WWW-Authenticate", "Bearer");
    if (error.retryAfter > Duration())
        response.headers.emplace_back("Retry-After", std::to_string(wholeSeconds(error.retryAfter)));
    else if (error.status == 429)
        response.headers.emplace_back("Retry-After", "5");
    return response;
}

} // namespace zelvo::service
