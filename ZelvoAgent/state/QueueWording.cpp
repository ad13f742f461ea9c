#include "state/QueueWording.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"

#include <algorithm>
#include <cstdint>

namespace zelvo::QueueWording {

namespace {

constexpr std::size_t mostLines = 8;

// Characters.
constexpr std::size_t longestName = 80;
constexpr std::size_t longestSummary = 200;

} // namespace

std::string waiting(std::size_t count)
{
    return count == 1 ? localized("queue.waiting.one")
                      : localized("queue.waiting.other", {static_cast<std::int64_t>(count)});
}

std::string title(QueuedCommandsOffer const& offer)
{
    return localized("queue.title",
                     {text::shownInLine(offer.platformName, longestName), waiting(offer.commands.size())});
}

std::string list(QueuedCommandsOffer const& offer)
{
    std::size_t const count = offer.commands.size();
    std::string lines;
    for (std::size_t i = 0; i < std::min(count, mostLines); ++i)
        lines += (i == 0 ? "• " : "\n• ") + text::shownInLine(offer.commands[i].summary, longestSummary);
    if (count > mostLines)
        lines += "\n" + localized("queue.andMore", {static_cast<std::int64_t>(count - mostLines)});
    return lines;
}

} // namespace zelvo::QueueWording
