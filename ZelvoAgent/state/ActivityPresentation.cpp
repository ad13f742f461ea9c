#include "state/ActivityPresentation.h"

#include "base/LocalizedTexts.h"

#include <algorithm>
#include <map>

namespace zelvo::ActivityPresentation {

namespace {

// These compare with texts of the present language. An entry in another language gets the general icon.

std::string_view machineSymbol(std::string const& summary)
{
    if (summary == localized("activity.mac.asleep"))
        return "moon";
    if (summary == localized("activity.mac.woke"))
        return "sun.max";
    if (summary == localized("activity.mac.locked"))
        return "lock";
    if (summary == localized("activity.mac.unlocked"))
        return "lock.open";
    return "desktopcomputer";
}

std::string_view serverSymbol(std::string const& summary)
{
    if (summary == localized("activity.connectionLost"))
        return "wifi.slash";
    if (summary == localized("activity.tokenRejected"))
        return "lock.slash";
    if (summary == localized("activity.updateRequired"))
        return "arrow.down.circle";
    return "cloud";
}

std::string titleOf(Date day, Date now, DayCalendar const& calendar)
{
    if (calendar.isSameDay(day, now))
        return localized("main.today");
    if (calendar.isSameDay(day, calendar.dayBefore(now)))
        return localized("main.yesterday");
    return calendar.monthAndDay(day);
}

} // namespace

std::string_view symbol(ActivityEntry const& entry)
{
    switch (entry.resolvedKind()) {
    case ActivityKind::actions:
        return "cursorarrow";
    case ActivityKind::terminal:
        return "terminal";
    case ActivityKind::screen:
        return "eye";
    case ActivityKind::queue:
        return "clock";
    case ActivityKind::recording:
        return "record.circle";
    case ActivityKind::update:
        return "arrow.down.circle";
    case ActivityKind::connection:
        return "checkmark.shield";
    case ActivityKind::system:
        return "gearshape";
    case ActivityKind::mac:
        return machineSymbol(entry.summary);
    case ActivityKind::server:
        return serverSymbol(entry.summary);
    }
    return {};
}

std::string subtitle(ActivityEntry const& entry)
{
    std::string line;
    auto const add = [&](std::string const& words) {
        if (!line.empty())
            line += localized("list.separator");
        line += words;
    };
    if (entry.agentName)
        add(*entry.agentName);
    add(entry.platformName);
    if (entry.note && !entry.note->empty())
        add(*entry.note);
    if (entry.count && *entry.count >= 2)
        add(localized("activity.times", {*entry.count}));
    return line;
}

bool hasDetail(ActivityEntry const& entry)
{
    return entry.detail && !entry.detail->empty();
}

bool detailIsCode(ActivityEntry const& entry)
{
    return entry.resolvedKind() == ActivityKind::terminal;
}

std::vector<ActivityDay> days(std::span<ActivityEntry const> entries, Date now, DayCalendar const& calendar)
{
    std::vector<ActivityDay> all;
    std::map<Date, std::size_t> places;
    for (ActivityEntry const& entry : entries) {
        Date const start = calendar.startOfDay(entry.at);
        auto const [place, isNew] = places.try_emplace(start, all.size());
        if (isNew)
            all.push_back({start, titleOf(start, now, calendar), {}});
        all[place->second].entries.push_back(entry);
    }
    return all;
}

std::string time(Date date)
{
    return DayCalendar().hourAndMinute(date);
}

} // namespace zelvo::ActivityPresentation
