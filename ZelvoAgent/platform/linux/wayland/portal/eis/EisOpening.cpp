#include "platform/linux/wayland/portal/EisOpening.h"

#include "platform/linux/wayland/portal/eis/EisInput.h"

namespace zelvo {

bool isEisBuilt()
{
    return true;
}

std::shared_ptr<InputSink> openEis(EisParts parts)
{
    auto const agent = parts.agent;
    auto connection = EisConnection::open(agent, parts.clock, std::move(parts.socket));
    if (!connection)
        return nullptr;
    auto hands = std::make_shared<EisHands>(std::move(parts), std::move(connection));
    return std::make_shared<EisInput>(agent, std::move(hands));
}

} // namespace zelvo
