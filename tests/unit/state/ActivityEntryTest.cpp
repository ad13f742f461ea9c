#include "state/ActivityEntry.h"

#include "base/DateText.h"
#include "base/LocalizedTexts.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

constexpr std::string_view required =
    R"("id":"8C5F0000-0000-4000-8000-000000000001","at":817000000.25,"platformName":"Acme","summary":"Clicked")";

std::optional<ActivityEntry> decoded(std::string const& text)
{
    return ActivityEntry::fromJson(*parseJson(text));
}

ActivityEntry least()
{
    ActivityEntry entry;
    entry.id = "8C5F0000-0000-4000-8000-000000000001";
    entry.at = dates::fromStoredSeconds(817000000.25);
    entry.platformName = "Acme";
    entry.summary = "Clicked";
    return entry;
}

ActivityEntry full()
{
    ActivityEntry entry = least();
    entry.kind = ActivityKind::terminal;
    entry.connectionId = "con_1";
    entry.note = "";
    entry.detail = "ls\n-l";
    entry.count = 3;
    entry.agentName = "Bot";
    entry.cwd = "/tmp";
    entry.env = {"PATH=.", "A=1\n2"};
    return entry;
}

TEST(ActivityKind, hasTheNamesOfItsCases)
{
    EXPECT_EQ(EnumTexts<ActivityKind>::texts,
              (std::array<std::string_view, 10>{"actions", "terminal", "screen", "queue", "mac", "server",
                                                "connection", "recording", "update", "system"}));
    EXPECT_EQ(rawValue(ActivityKind::actions), "actions");
    EXPECT_EQ(rawValue(ActivityKind::system), "system");
}

TEST(ActivityKind, isAnAgentsForTheFirstFourOnly)
{
    for (auto const kind :
         {ActivityKind::actions, ActivityKind::terminal, ActivityKind::screen, ActivityKind::queue})
        EXPECT_TRUE(isAgent(kind)) << rawValue(kind);
    for (auto const kind : {ActivityKind::mac, ActivityKind::server, ActivityKind::connection,
                            ActivityKind::recording, ActivityKind::update, ActivityKind::system})
        EXPECT_FALSE(isAgent(kind)) << rawValue(kind);
}

TEST(ActivityKind, isGuessedByTheAuthor)
{
    EXPECT_EQ(guessActivityKind(localized("activity.system")), ActivityKind::system);
    EXPECT_EQ(guessActivityKind(localized("activity.server")), ActivityKind::actions);
    EXPECT_EQ(guessActivityKind("Acme"), ActivityKind::actions);
    EXPECT_EQ(guessActivityKind(""), ActivityKind::actions);
}

TEST(ActivityEntry, guessesItsKindOnlyWhenItHasNone)
{
    ActivityEntry entry = least();
    EXPECT_EQ(entry.resolvedKind(), ActivityKind::actions);

    entry.platformName = localized("activity.system");
    EXPECT_EQ(entry.resolvedKind(), ActivityKind::system);

    entry.kind = ActivityKind::mac;
    EXPECT_EQ(entry.resolvedKind(), ActivityKind::mac);
}

TEST(ActivityEntry, writesItsFieldsByNameAndLeavesOutWhatIsAbsent)
{
    EXPECT_EQ(json::value(least().toJson()), *parseJson('{' + std::string(required) + '}'));
    EXPECT_EQ(
        json::value(full().toJson()),
        *parseJson(
            '{' + std::string(required) +
            R"(,"kind":"terminal","connectionId":"con_1","note":"","detail":"ls\n-l","count":3,"agentName":"Bot","cwd":"/tmp","env":["PATH=.","A=1\n2"]})"));
}

TEST(ActivityEntry, readsWhatItWrote)
{
    for (ActivityEntry const& entry : {least(), full()})
        EXPECT_EQ(ActivityEntry::fromJson(*parseJson(writeJson(entry.toJson()))), entry);
}

TEST(ActivityEntry, keepsTheTimeToTheMicrosecond)
{
    ActivityEntry entry = least();
    for (auto const time : {1795225107123456us, 978307200000000us, 0us, 978307199999999us}) {
        entry.at = Date(time);
        EXPECT_EQ(ActivityEntry::fromJson(*parseJson(writeJson(entry.toJson())))->at, entry.at);
    }
}

TEST(ActivityEntry, readsEveryKind)
{
    for (std::string_view const kind : EnumTexts<ActivityKind>::texts) {
        auto const entry = decoded('{' + std::string(required) + R"(,"kind":")" + std::string(kind) + "\"}");
        ASSERT_TRUE(entry) << kind;
        EXPECT_EQ(rawValue(*entry->kind), kind);
    }
}

TEST(ActivityEntry, takesNullForAbsentAndPassesOverOtherKeys)
{
    auto const entry = decoded(
        '{' + std::string(required) +
        R"(,"kind":null,"connectionId":null,"note":null,"detail":null,"count":null,"agentName":null,"x":[]})");

    EXPECT_EQ(entry, least());
}

TEST(ActivityEntry, needsItsFourRequiredFields)
{
    for (std::string const key : {"id", "at", "platformName", "summary"}) {
        json::object stored = full().toJson();
        stored.erase(key);
        EXPECT_FALSE(ActivityEntry::fromJson(stored)) << key;

        stored[key] = nullptr;
        EXPECT_FALSE(ActivityEntry::fromJson(stored)) << key;

        stored[key] = json::array();
        EXPECT_FALSE(ActivityEntry::fromJson(stored)) << key;
    }
}

TEST(ActivityEntry, failsForAnOptionalFieldOfTheWrongType)
{
    for (std::string const key : {"kind", "connectionId", "note", "detail", "count", "agentName"}) {
        json::object stored = full().toJson();
        stored[key] = true;
        EXPECT_FALSE(ActivityEntry::fromJson(stored)) << key;
    }
    EXPECT_FALSE(decoded('{' + std::string(required) + R"(,"kind":"telepathy"})"));
    EXPECT_FALSE(decoded('{' + std::string(required) + R"(,"count":1.5})"));
}

TEST(ActivityEntry, failsForWhatIsNoObject)
{
    for (std::string const text : {"[]", "null", "\"x\"", "1"})
        EXPECT_FALSE(decoded(text)) << text;
}

} // namespace
} // namespace zelvo
