#include "state/QueuedCommandsOffer.h"

#include "base/DateText.h"
#include "base/LocalizedTexts.h"
#include "state/QueueWording.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

std::optional<QueuedCommandsOffer> parsed(std::string const& params)
{
    return QueuedCommandsOffer::parse(parseJson(params)->as_object());
}

std::optional<QueuedCommandsOffer> withCommand(std::string const& command)
{
    return parsed(R"({"connectionId":"c","commands":[)" + command + "]}");
}

TEST(QueuedCommandsOffer, readsAllOfIt)
{
    auto const offer = parsed(R"({"connectionId":"c","platformName":"Acme","commands":[
        {"commandId":"1","type":"shell.run","summary":"make","expiresAt":"2026-11-21T10:00:00.500Z"},
        {"commandId":"2","type":"screenshot"}]})");
    ASSERT_TRUE(offer);
    EXPECT_EQ(offer->connectionId, "c");
    EXPECT_EQ(offer->platformName, "Acme");
    ASSERT_EQ(offer->commands.size(), 2u);
    EXPECT_EQ(offer->commands[0],
              (QueuedCommandInfo{"1", "shell.run", "make", dates::parseIso8601("2026-11-21T10:00:00.500Z")}));
    EXPECT_EQ(offer->commands[1], (QueuedCommandInfo{"2", "screenshot", "screenshot", std::nullopt}));
}

TEST(QueuedCommandsOffer, isNothingWithoutWhatItNeeds)
{
    for (char const* const params :
         {R"({})", R"({"commands":[]})", R"({"connectionId":"","commands":[]})",
          R"({"connectionId":5,"commands":[]})", R"({"connectionId":"c"})",
          R"({"connectionId":"c","commands":{}})", R"({"connectionId":"c","commands":["1"]})"})
        EXPECT_FALSE(parsed(params)) << params;
    for (char const* const command :
         {R"({"type":"t"})", R"({"commandId":"","type":"t"})", R"({"commandId":1,"type":"t"})",
          R"({"commandId":"1"})", R"({"commandId":"1","type":null})", R"(null)",
          R"({"commandId":"1","type":"t"},{"commandId":"2"})"})
        EXPECT_FALSE(withCommand(command)) << command;
}

TEST(QueuedCommandsOffer, takesWhatIsOfTheWrongTypeForMissing)
{
    auto const offer = withCommand(R"({"commandId":"1","type":"t","summary":7,"expiresAt":7})");
    ASSERT_TRUE(offer);
    EXPECT_EQ(offer->commands[0], (QueuedCommandInfo{"1", "t", "t", std::nullopt}));
    EXPECT_EQ(parsed(R"({"connectionId":"c","platformName":{},"commands":[]})")->platformName,
              "An unnamed platform");
}

TEST(QueuedCommandsOffer, readsNoDateWithoutFractionalSeconds)
{
    EXPECT_FALSE(withCommand(R"({"commandId":"1","type":"t","expiresAt":"2026-11-21T10:00:00Z"})")
                     ->commands[0]
                     .expiresAt);
}

TEST(QueueWording, countsWhatWaits)
{
    EXPECT_EQ(QueueWording::waiting(0), "0 commands waited for you");
    EXPECT_EQ(QueueWording::waiting(1), "1 command waited for you");
    EXPECT_EQ(QueueWording::waiting(2), "2 commands waited for you");
    EXPECT_EQ(QueueWording::waiting(1000), "1000 commands waited for you");

    texts::useLanguage("ru");
    EXPECT_EQ(QueueWording::waiting(1), "вас ждала 1 команда");
    EXPECT_EQ(QueueWording::waiting(2), "вас ждали 2 команды");
    EXPECT_EQ(QueueWording::waiting(5), "вас ждали 5 команд");
    EXPECT_EQ(QueueWording::waiting(21), "вас ждала 21 команда");
    texts::useLanguage("en");
}

TEST(QueueWording, listsEightAndHowManyMore)
{
    QueuedCommandsOffer offer{.connectionId = "c", .platformName = "Acme", .commands = {}};
    EXPECT_EQ(QueueWording::list(offer), "");
    std::string lines;
    for (int i = 1; i <= 8; ++i) {
        offer.commands.push_back({std::to_string(i), "t", "do " + std::to_string(i), std::nullopt});
        lines += (i == 1 ? "• do " : "\n• do ") + std::to_string(i);
    }
    EXPECT_EQ(QueueWording::list(offer), lines);
    offer.commands.push_back({"9", "t", "do 9", std::nullopt});
    EXPECT_EQ(QueueWording::list(offer), lines + "\nand 1 more");
}

TEST(QueueWording, keepsAnAgentsWordsInTheirLine)
{
    QueuedCommandsOffer const offer{.connectionId = "c",
                                    .platformName = "Ac\nme",
                                    .commands = {{"1", "t", "do\n• nothing", std::nullopt},
                                                 {"2", "t", std::string(10'000, 'x'), std::nullopt}}};
    EXPECT_EQ(QueueWording::title(offer), "Acme: 2 commands waited for you");
    EXPECT_EQ(QueueWording::list(offer), "• do• nothing\n• " + std::string(200, 'x') + "…");
}

} // namespace
} // namespace zelvo
