#include "router/Admission.h"

#include "base/Text.h"

namespace zelvo {

namespace {

constexpr std::size_t maxLoggedNameLength = 200; // Characters.

} // namespace

std::optional<std::string> Admission::loggedAgentName() const
{
    if (!frame.agentName)
        return std::nullopt;
    return text::prefix(*frame.agentName, maxLoggedNameLength);
}

} // namespace zelvo
