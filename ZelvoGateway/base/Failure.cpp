#include "ZelvoGateway/base/Failure.h"

#include <iostream>

namespace zelvo::service {

Failure internalFailure(std::exception const& error)
{
    std::cerr << "zelvo-gateway: " << error.what() << std::endl;
    return {.message = "Internal error", .status = 500};
}

int httpStatus(ErrorCode code)
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
    case ErrorCode::internalError: // The machine's own failure; a failure of the gateway itself is 500.
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

} // namespace zelvo::service
