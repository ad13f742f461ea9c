#include "overlays/NameInControl.h"

#include "base/Text.h"

namespace zelvo {

namespace {

constexpr std::size_t maxNameLength = 200;
constexpr std::size_t maxNameBytes = 4000; // One character may have any number of code points.

} // namespace

std::optional<std::string> nameInControl(ComputerAgents const& agents)
{
    if (!agents.holder)
        return std::nullopt;
    std::string name =
        text::shownInLine(text::prefixOfBytes(agents.holder->name, maxNameBytes), maxNameLength);
    return name.empty() ? std::nullopt : std::optional(std::move(name));
}

} // namespace zelvo
