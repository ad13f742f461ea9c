#include "state/ComputerAgents.h"

#include "base/DateText.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

Date const now = *dates::parseIso8601("2026-11-21T02:00:00.000Z");

constexpr std::string_view since = "2026-11-21T01:02:03.456Z";

ComputerAgents parsed(std::string const& text)
{
    return ComputerAgents::parse(parseJson(text)->as_object(), now);
}

std::string agent(std::string const& ref, std::string const& rest = {})
{
    return R"({"ref":")" + ref + R"(","name":"Bot )" + ref + R"(","since":")" + std::string(since) + '"' +
           rest + '}';
}

std::string update(std::string const& holder, std::string const& waiting, std::string const& paused)
{
    std::string const first = holder.empty() ? "" : R"("holder":)" + holder + ',';
    return '{' + first + R"("waiting":[)" + waiting + R"(],"paused":[)" + paused + "]}";
}

ComputerAgent bot(std::string const& ref)
{
    return {ref, "Bot " + ref, {}, {}, *dates::parseIso8601(since)};
}

TEST(ComputerAgents, isEmptyWithoutAnyAgent)
{
    EXPECT_TRUE(ComputerAgents::none().isEmpty());
    EXPECT_EQ(parsed(update("", "", "")), ComputerAgents::none());
}

TEST(ComputerAgents, isNotEmptyWithOneAgentAnywhere)
{
    EXPECT_FALSE(parsed(update(agent("a"), "", "")).isEmpty());
    EXPECT_FALSE(parsed(update("", agent("a"), "")).isEmpty());
    EXPECT_FALSE(parsed(update("", "", agent("a"))).isEmpty());
}

TEST(ComputerAgents, takesHolderWaitingAndPausedInTheirOrder)
{
    ComputerAgents const agents =
        parsed(update(agent("a"), agent("b") + ',' + agent("c"), agent("d") + ',' + agent("e")));

    EXPECT_EQ(agents.holder, bot("a"));
    EXPECT_EQ(agents.waiting, (std::vector{bot("b"), bot("c")}));
    EXPECT_EQ(agents.paused, (std::vector{bot("d"), bot("e")}));
}

TEST(ComputerAgents, takesTheOptionalFieldsOver)
{
    ComputerAgent expected = bot("a");
    expected.task = "Books a flight";
    expected.connectionId = "con_1";

    EXPECT_EQ(parsed(update(agent("a", R"(,"task":"Books a flight","connectionId":"con_1")"), "", "")).holder,
              expected);
    EXPECT_EQ(parsed(update(agent("a", R"(,"task":null,"connectionId":null,"colour":"red")"), "", "")).holder,
              bot("a"));
}

TEST(ComputerAgents, takesANullHolderForNone)
{
    ComputerAgents const agents = parsed(update("null", agent("b"), ""));

    EXPECT_FALSE(agents.holder);
    EXPECT_EQ(agents.waiting, std::vector{bot("b")});
}

TEST(ComputerAgents, readsTimesWithFractionalSecondsAndAnyZone)
{
    auto const sinceOf = [](std::string const& text) {
        return parsed(R"({"waiting":[],"paused":[{"ref":"r","name":"n","since":")" + text + R"("}]})")
            .paused.front()
            .since;
    };

    EXPECT_EQ(sinceOf("2026-11-21T01:02:03.456Z"), *dates::parseIso8601(since));
    EXPECT_EQ(sinceOf("2026-11-21T03:02:03.456+02:00"), *dates::parseIso8601(since));
}

TEST(ComputerAgents, takesAnUnreadableTimeForThePresent)
{
    for (std::string const text : {"2026-11-21T01:02:03Z", "2026-11-21", "", "soon", "1795222923"}) {
        std::string const holder = R"({"ref":"r","name":"n","since":")" + text + "\"}";
        EXPECT_EQ(parsed(update(holder, "", "")).holder->since, now) << text;
    }
}

TEST(ComputerAgents, differsAtEachUpdateWhenATimeIsUnreadable)
{
    json::object const params =
        parseJson(update(R"({"ref":"r","name":"n","since":"2026-11-21T01:02:03Z"})", "", ""))->as_object();

    EXPECT_NE(ComputerAgents::parse(params, now), ComputerAgents::parse(params, now + 1s));
}

TEST(ComputerAgents, isClearedByOneMalformedAgentAnywhere)
{
    for (std::string const bad :
         {R"({"name":"n","since":"s"})", R"({"ref":"r","since":"s"})", R"({"ref":"r","name":"n"})",
          R"({"ref":1,"name":"n","since":"s"})", R"({"ref":"r","name":null,"since":"s"})",
          R"({"ref":"r","name":"n","since":5})", R"({"ref":"r","name":"n","since":"s","task":5})",
          R"({"ref":"r","name":"n","since":"s","connectionId":[]})", "[]", "7", "\"r\""}) {
        EXPECT_EQ(parsed(update(bad, agent("b"), agent("c"))), ComputerAgents::none()) << bad;
        EXPECT_EQ(parsed(update(agent("a"), agent("b") + ',' + bad, agent("c"))), ComputerAgents::none())
            << bad;
        EXPECT_EQ(parsed(update(agent("a"), agent("b"), bad + ',' + agent("c"))), ComputerAgents::none())
            << bad;
    }
}

TEST(ComputerAgents, isClearedWithoutBothLists)
{
    for (std::string const& text :
         {std::string("{}"), R"({"holder":)" + agent("a") + '}', std::string(R"({"waiting":[]})"),
          std::string(R"({"paused":[]})"), std::string(R"({"waiting":null,"paused":[]})"),
          std::string(R"({"waiting":{},"paused":[]})"), R"({"waiting":[],"paused":)" + agent("a") + '}'})
        EXPECT_EQ(parsed(text), ComputerAgents::none()) << text;
}

TEST(ComputerAgents, differsByTheOrderOfThoseWhoWait)
{
    EXPECT_NE(parsed(update("", agent("a") + ',' + agent("b"), "")),
              parsed(update("", agent("b") + ',' + agent("a"), "")));
    EXPECT_EQ(parsed(update("", agent("a") + ',' + agent("b"), "")),
              parsed(update("", agent("a") + ',' + agent("b"), "")));
}

} // namespace
} // namespace zelvo
