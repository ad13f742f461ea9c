#include "gateway/GatewayFailure.h"

#include "base/LocalizedTexts.h"

#include <algorithm>

namespace zelvo {

GatewayFailure GatewayFailure::classify(std::optional<int> httpStatus,
                                        std::optional<int> closeCode,
                                        std::optional<std::string> const& closeReason,
                                        std::string errorDescription)
{
    if (httpStatus == 401 || closeCode == 4401)
        return {Kind::tokenRejected, {}};
    if (httpStatus == 426)
        return {Kind::updateRequired, {}};
    if (closeReason && closeReason->find("app_update_required") != std::string::npos)
        return {Kind::updateRequired, {}};
    if (httpStatus && *httpStatus != 101)
        return {Kind::transient, localized("gateway.httpStatus", {std::int64_t{*httpStatus}})};
    return {Kind::transient, std::move(errorDescription)};
}

std::chrono::seconds GatewayFailure::retryDelay(std::int64_t attempt)
{
    std::int64_t const exponent = std::clamp<std::int64_t>(attempt, 1, 6) - 1;
    return std::chrono::seconds(std::min<std::int64_t>(std::int64_t{1} << exponent, 30));
}

std::string GatewayFailure::describe(NetworkFailure const& failure)
{
    switch (failure.kind) {
    case NetworkFailure::Kind::offline:
        return localized("gateway.reason.offline");
    case NetworkFailure::Kind::lost:
        return localized("gateway.reason.lost");
    case NetworkFailure::Kind::unreachable:
    case NetworkFailure::Kind::hostNotFound:
        return localized("gateway.reason.unreachable");
    case NetworkFailure::Kind::timedOut:
        return localized("gateway.reason.timeout");
    case NetworkFailure::Kind::cancelled:
        return localized("gateway.reason.closed");
    case NetworkFailure::Kind::tls:
    case NetworkFailure::Kind::other:
        break;
    }
    return failure.description;
}

} // namespace zelvo
