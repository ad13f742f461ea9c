#include "state/ActivityFilter.h"

#include "base/LocalizedTexts.h"

namespace zelvo {

std::string title(ActivityFilter filter)
{
    switch (filter) {
    case ActivityFilter::all:
        return localized("main.filter.all");
    case ActivityFilter::agents:
        return localized("main.filter.agents");
    case ActivityFilter::terminal:
        return localized("main.filter.terminal");
    case ActivityFilter::mac:
        return localized("main.filter.mac");
    }
    return {};
}

bool matches(ActivityFilter filter, ActivityEntry const& entry)
{
    ActivityKind const kind = entry.resolvedKind();
    switch (filter) {
    case ActivityFilter::all:
        return true;
    case ActivityFilter::agents:
        return isAgent(kind);
    case ActivityFilter::terminal:
        return kind == ActivityKind::terminal;
    case ActivityFilter::mac:
        return !isAgent(kind);
    }
    return false;
}

} // namespace zelvo
