#include "state/ActivityFilter.h"

#include "base/LocalizedTexts.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using Kind = ActivityKind;

bool matchesKind(ActivityFilter filter, Kind kind)
{
    ActivityEntry entry;
    entry.kind = kind;
    return matches(filter, entry);
}

TEST(ActivityFilter, sortsEveryKind)
{
    for (Kind const kind : {Kind::actions, Kind::terminal, Kind::screen, Kind::queue}) {
        EXPECT_TRUE(matchesKind(ActivityFilter::agents, kind));
        EXPECT_FALSE(matchesKind(ActivityFilter::mac, kind));
        EXPECT_EQ(matchesKind(ActivityFilter::terminal, kind), kind == Kind::terminal);
        EXPECT_TRUE(matchesKind(ActivityFilter::all, kind));
    }
    for (Kind const kind :
         {Kind::mac, Kind::server, Kind::connection, Kind::recording, Kind::update, Kind::system}) {
        EXPECT_FALSE(matchesKind(ActivityFilter::agents, kind));
        EXPECT_TRUE(matchesKind(ActivityFilter::mac, kind));
        EXPECT_FALSE(matchesKind(ActivityFilter::terminal, kind));
        EXPECT_TRUE(matchesKind(ActivityFilter::all, kind));
    }
}

TEST(ActivityFilter, guessesTheKindOfAnOldEntry)
{
    ActivityEntry entry;
    entry.platformName = localized("activity.server");
    EXPECT_EQ(matches(ActivityFilter::mac, entry), !isAgent(entry.resolvedKind()));
    entry.platformName = "Acme";
    EXPECT_TRUE(matches(ActivityFilter::agents, entry));
}

TEST(ActivityFilter, hasAName)
{
    EXPECT_EQ(title(ActivityFilter::all), localized("main.filter.all"));
    EXPECT_EQ(title(ActivityFilter::agents), localized("main.filter.agents"));
    EXPECT_EQ(title(ActivityFilter::terminal), localized("main.filter.terminal"));
    EXPECT_EQ(title(ActivityFilter::mac), localized("main.filter.mac"));
    EXPECT_EQ(rawValue(ActivityFilter::mac), "mac");
}

} // namespace
} // namespace zelvo
