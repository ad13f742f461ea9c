#include "state/GatewayConnectionState.h"

#include "base/DateText.h"
#include "base/LocalizedTexts.h"

namespace zelvo {

GatewayConnectionState GatewayConnectionState::retrying(std::string reason, Date nextAttempt)
{
    return {Kind::retrying, std::move(reason), nextAttempt};
}

GatewayConnectionState GatewayConnectionState::of(Kind kind)
{
    GatewayConnectionState state;
    state.kind = kind;
    return state;
}

std::string GatewayConnectionState::title() const
{
    switch (kind) {
    case Kind::retrying:
        return localized("gateway.retrying");
    case Kind::notLinked:
        return localized("gateway.notLinked");
    case Kind::connecting:
        return localized("gateway.connecting");
    case Kind::connected:
        return localized("gateway.connected");
    case Kind::tokenRejected:
        return localized("gateway.tokenRejected");
    case Kind::updateRequired:
        return localized("gateway.updateRequired");
    }
    return {};
}

std::optional<std::string> GatewayConnectionState::detail(UpdateSource updates) const
{
    switch (kind) {
    case Kind::retrying:
        return localized("gateway.retrying.detail", {reason, dates::localTime(nextAttempt)});
    case Kind::notLinked:
        return localized("gateway.notLinked.detail");
    case Kind::tokenRejected:
        return localized("gateway.tokenRejected.detail");
    case Kind::updateRequired:
        return localized(updates == UpdateSource::itself ? "gateway.updateRequired.detail"
                                                         : "gateway.updateRequired.packaged");
    case Kind::connecting:
    case Kind::connected:
        return std::nullopt;
    }
    return std::nullopt;
}

} // namespace zelvo
