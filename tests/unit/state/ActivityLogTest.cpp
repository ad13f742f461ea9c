#include "state/ActivityLog.h"

#include "state/StoredList.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

ActivityEntry entry(std::string summary)
{
    ActivityEntry made;
    made.id = "8C5F0000-0000-4000-8000-000000000001";
    made.platformName = "Acme";
    made.summary = std::move(summary);
    return made;
}

ActivityLog logOf(int count)
{
    ActivityLog log;
    for (int i = 1; i <= count; ++i)
        log.add(entry(std::to_string(i)));
    return log;
}

/// The stored form must always match the entries.
void expectConsistent(ActivityLog const& log)
{
    EXPECT_EQ(log.encoded(), stored::encodeList(log.entries()));
    EXPECT_EQ(ActivityLog::decoded(log.encoded()).entries(), log.entries());
}

TEST(ActivityLog, isAnEmptyArrayAtFirst)
{
    EXPECT_EQ(ActivityLog().encoded(), "[]");
    expectConsistent(ActivityLog());
}

TEST(ActivityLog, putsNewEntriesOnTop)
{
    ActivityLog const log = logOf(3);

    EXPECT_EQ(log.entries().front().summary, "3");
    EXPECT_EQ(log.entries().back().summary, "1");
    expectConsistent(log);
}

TEST(ActivityLog, keepsFiveHundredEntries)
{
    ActivityLog const log = logOf(501);

    EXPECT_EQ(log.entries().size(), 500u);
    EXPECT_EQ(log.entries().back().summary, "2");
    expectConsistent(log);
}

TEST(ActivityLog, replacesAnEntryInPlace)
{
    ActivityLog log = logOf(3);
    log.replace(1, entry("other"));

    EXPECT_EQ(log.entries()[1].summary, "other");
    EXPECT_EQ(log.entries().size(), 3u);
    expectConsistent(log);
}

TEST(ActivityLog, keepsALongerStoredListUntilTheNextEntry)
{
    ActivityLog log = ActivityLog::decoded(stored::encodeList(std::vector<ActivityEntry>(600, entry("old"))));
    EXPECT_EQ(log.entries().size(), 600u);
    expectConsistent(log);

    log.replace(0, entry("newest"));
    EXPECT_EQ(log.entries().size(), 600u);
    log.add(entry("new"));

    EXPECT_EQ(log.entries().size(), 500u);
    EXPECT_EQ(log.entries()[1].summary, "newest");
    expectConsistent(log);
}

TEST(ActivityLog, readsBrokenBytesAsEmpty)
{
    for (std::string const bytes : {"", "[", "{}", "null", "[1]", R"([{"id":"x"}])", "[]x"}) {
        EXPECT_TRUE(ActivityLog::decoded(bytes).entries().empty()) << bytes;
        EXPECT_EQ(ActivityLog::decoded(bytes).encoded(), "[]") << bytes;
    }
}

TEST(ActivityLog, losesTheWholeListToOneBadEntry)
{
    std::string bytes = logOf(2).encoded();
    bytes.insert(bytes.size() - 1, ",{}");

    EXPECT_TRUE(ActivityLog::decoded(bytes).entries().empty());
}

TEST(ActivityLog, keepsTextsOfAnyKind)
{
    ActivityLog log;
    log.add(entry("\"quoted\" \\ \n\t \u2028 😀 ,]["));

    expectConsistent(log);
}

} // namespace
} // namespace zelvo
