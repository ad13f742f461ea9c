#include "state/QueueWording.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"

#include <algorithm>
#include <cstdint>

namespace zelvo::QueueWording {

namespace {

constexpr std::size_t maxLines = 8;

// Characters.
constexpr std::size_t maxNameLength = 80;
constexpr std::size_t maxSummaryLength = 200;

} // namespace

std::string waiting(std::size_t count)
{
    return localized("queue.waiting", {static_cast<std::int64_t>(count)});
}

std::string title(QueuedCommandsOffer const& offer)
{
    std::string name = text::shownInLine(offer.platformName, maxNameLength);
    if (offer.claimedName)
        name = localized("queue.claimedName", {name, text::shownInLine(*offer.claimedName, maxNameLength)});
    return localized("queue.title", {name, waiting(offer.commands.size())});
}

std::string list(QueuedCommandsOffer const& offer)
{
    std::size_t const count = offer.commands.size();
    std::string lines;
    for (std::size_t i = 0; i < std::min(count, maxLines); ++i)
        lines += (i == 0 ? "• " : "\n• ") + text::shownInLine(offer.commands[i].summary, maxSummaryLength);
    if (count > maxLines)
        lines += "\n" + localized("queue.andMore", {static_cast<std::int64_t>(count - maxLines)});
    return lines;
}

} // namespace zelvo::QueueWording
