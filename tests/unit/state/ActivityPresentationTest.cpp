#include "state/ActivityPresentation.h"

#include "base/LocalizedTexts.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using namespace std::chrono;
using ActivityPresentation::days;
using ActivityPresentation::subtitle;
using ActivityPresentation::symbol;

using Kind = ActivityKind;

ActivityEntry entryOf(Kind kind, std::string summary = "s")
{
    ActivityEntry entry;
    entry.kind = kind;
    entry.platformName = "Acme";
    entry.summary = std::move(summary);
    return entry;
}

Date moment(unsigned day, microseconds time)
{
    return Date(sys_days(year(2026) / November / std::chrono::day(day))) + time;
}

ActivityEntry entryAt(Date at)
{
    ActivityEntry entry = entryOf(Kind::actions);
    entry.at = at;
    return entry;
}

TEST(ActivityPresentation, hasASymbolForEachKind)
{
    std::vector<std::pair<Kind, std::string_view>> const symbols = {{Kind::actions, "cursorarrow"},
                                                                    {Kind::terminal, "terminal"},
                                                                    {Kind::screen, "eye"},
                                                                    {Kind::queue, "clock"},
                                                                    {Kind::recording, "record.circle"},
                                                                    {Kind::update, "arrow.down.circle"},
                                                                    {Kind::connection, "checkmark.shield"},
                                                                    {Kind::system, "gearshape"},
                                                                    {Kind::mac, "desktopcomputer"},
                                                                    {Kind::server, "cloud"}};
    for (auto const& [kind, expected] : symbols)
        EXPECT_EQ(symbol(entryOf(kind)), expected);
}

TEST(ActivityPresentation, distinguishesTheMachinesEvents)
{
    std::vector<std::pair<std::string_view, std::string_view>> const symbols = {
        {"activity.mac.asleep", "moon"},
        {"activity.mac.woke", "sun.max"},
        {"activity.mac.locked", "lock"},
        {"activity.mac.unlocked", "lock.open"},
        {"activity.mac.ready", "desktopcomputer"}};
    for (auto const& [key, expected] : symbols)
        EXPECT_EQ(symbol(entryOf(Kind::mac, localized(key))), expected) << key;
}

TEST(ActivityPresentation, distinguishesTheServersEvents)
{
    std::vector<std::pair<std::string_view, std::string_view>> const symbols = {
        {"activity.connectionLost", "wifi.slash"},
        {"activity.tokenRejected", "lock.slash"},
        {"activity.updateRequired", "arrow.down.circle"},
        {"activity.connected", "cloud"}};
    for (auto const& [key, expected] : symbols)
        EXPECT_EQ(symbol(entryOf(Kind::server, localized(key))), expected) << key;
}

TEST(ActivityPresentation, givesTheGeneralSymbolForAnotherLanguagesWords)
{
    texts::useLanguage("ru");
    ActivityEntry const asleep = entryOf(Kind::mac, localized("activity.mac.asleep"));
    ActivityEntry const lost = entryOf(Kind::server, localized("activity.connectionLost"));
    texts::useLanguage("en");

    EXPECT_EQ(symbol(asleep), "desktopcomputer");
    EXPECT_EQ(symbol(lost), "cloud");
}

TEST(ActivityPresentation, putsTheSubtitleTogether)
{
    std::string const separator = localized("list.separator");
    ActivityEntry entry = entryOf(Kind::actions);
    EXPECT_EQ(subtitle(entry), "Acme");
    entry.note = "";
    entry.count = 1;
    EXPECT_EQ(subtitle(entry), "Acme");
    entry.note = "3 actions";
    entry.agentName = "Bot";
    entry.count = 2;
    EXPECT_EQ(subtitle(entry), "Bot" + separator + "Acme" + separator + "3 actions" + separator +
                                   localized("activity.times", {2}));
}

TEST(ActivityPresentation, knowsWhetherThereIsADetail)
{
    ActivityEntry entry = entryOf(Kind::terminal);
    EXPECT_FALSE(ActivityPresentation::hasDetail(entry));
    entry.detail = "";
    EXPECT_FALSE(ActivityPresentation::hasDetail(entry));
    entry.detail = "ls";
    EXPECT_TRUE(ActivityPresentation::hasDetail(entry));
    EXPECT_TRUE(ActivityPresentation::detailIsCode(entry));
    EXPECT_FALSE(ActivityPresentation::detailIsCode(entryOf(Kind::actions)));
}

TEST(ActivityPresentation, hasNoDaysInAnEmptyLog)
{
    EXPECT_TRUE(days({}, moment(21, 12h), DayCalendar("UTC")).empty());
}

TEST(ActivityPresentation, partsTodayFromYesterdayAtMidnight)
{
    std::vector<ActivityEntry> const log = {entryAt(moment(21, 0h)), entryAt(moment(20, 23h + 59min))};

    auto const shown = days(log, moment(21, 12h), DayCalendar("UTC"));

    ASSERT_EQ(shown.size(), 2u);
    EXPECT_EQ(shown[0].id, moment(21, 0h));
    EXPECT_EQ(shown[0].title, localized("main.today"));
    EXPECT_EQ(shown[1].id, moment(20, 0h));
    EXPECT_EQ(shown[1].title, localized("main.yesterday"));
}

TEST(ActivityPresentation, keepsTheOrderOfDaysAndEntries)
{
    std::vector<ActivityEntry> const log = {entryAt(moment(21, 11h)), entryAt(moment(21, 10h)),
                                            entryAt(moment(3, 10h)), entryAt(moment(21, 9h))};

    auto const shown = days(log, moment(21, 12h), DayCalendar("UTC"));

    ASSERT_EQ(shown.size(), 2u);
    EXPECT_EQ(shown[0].entries, (std::vector{log[0], log[1], log[3]}));
    EXPECT_EQ(shown[1].entries, std::vector{log[2]});
    EXPECT_EQ(shown[1].title, "November 3");
}

TEST(ActivityPresentation, countsDaysInTheGivenZone)
{
    std::vector<ActivityEntry> const log = {entryAt(moment(20, 22h))};

    EXPECT_EQ(days(log, moment(21, 12h), DayCalendar("Europe/Moscow")).front().title,
              localized("main.today"));
}

TEST(ActivityPresentation, writesTheTime)
{
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    EXPECT_EQ(ActivityPresentation::time(moment(21, 9h + 5min)), "09:05");
    ::unsetenv("TZ");
    ::tzset();
}

} // namespace
} // namespace zelvo
