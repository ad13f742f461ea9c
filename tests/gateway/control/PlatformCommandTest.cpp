#include "ZelvoGateway/control/PlatformCommand.h"

#include "ZelvoGateway/control/Arbiter.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>

namespace zelvo::service {
namespace {

StoredConnection const connection{.id = "con_1", .platformName = "Acme"};

TEST(PlatformCommand, givesTheConfirmationTimeToTheMethodsThatTakeIt)
{
    std::map<std::string, bool> const table = {
        {"shell.run", true}, {"urls.open", true}, {"files.upload.begin", false}, {"actions.perform", false}};

    for (auto const& [method, takes] : table) {
        PlatformCommand command{.method = method, .params = json::object{{"confirmationTimeoutMs", 7}}};
        command.delivery.confirmationTimeoutMs = 9000;
        applyConfirmationTime(command);
        EXPECT_EQ(command.params->at("confirmationTimeoutMs").as_int64(), takes ? 9000 : 7) << method;
    }
}

TEST(PlatformCommand, addsTheConfirmationTimeToMissingParams)
{
    PlatformCommand command{.method = "shell.run"};
    command.delivery.confirmationTimeoutMs = 5000;

    applyConfirmationTime(command);

    ASSERT_TRUE(command.params);
    EXPECT_EQ(writeJson(*command.params), R"({"confirmationTimeoutMs":5000})");
}

TEST(PlatformCommand, givesTheMachineMoreTimeWhenThePersonHasMore)
{
    json::object params;
    EXPECT_EQ(patienceFor(nullptr, 180s), 180s);
    EXPECT_EQ(patienceFor(&params, 180s), 180s);
    params["confirmationTimeoutMs"] = 5000;
    EXPECT_EQ(patienceFor(&params, 180s), 180s);
    params["confirmationTimeoutMs"] = 90'000;
    EXPECT_EQ(patienceFor(&params, 180s), 210s);
    params["confirmationTimeoutMs"] = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(patienceFor(&params, 180s), 720s);
    params["confirmationTimeoutMs"] = "x";
    EXPECT_EQ(patienceFor(&params, 180s), 180s);
}

TEST(PlatformCommand, knowsWhoAsks)
{
    json::object const given{{"name", "Ann"}, {"ref", "r1"}, {"task", "Sorting mail"}};

    EXPECT_EQ(
        agentOf(connection, &given),
        (Agent{
            .ref = agentRef("con_1", "r1"), .connectionId = "con_1", .name = "Ann", .task = "Sorting mail"}));
}

TEST(PlatformCommand, takesAnAgentWithoutWordsForTheConnectionItself)
{
    Agent const itself = agentOf(connection, nullptr);
    EXPECT_EQ(itself.name, "Acme");
    EXPECT_EQ(itself.task, std::nullopt);

    for (std::string const text :
         {"{}", R"({"name": "", "ref": ""})", R"({"name": 5, "ref": [], "task": {}})"}) {
        json::object const given = parseJson(text)->as_object();
        EXPECT_EQ(agentOf(connection, &given), itself) << text;
    }
}

TEST(PlatformCommand, boundsTheWordsOfAnAgent)
{
    json::object const given{{"name", std::string(5000, 'n')}, {"task", std::string(5000, 't')}};

    EXPECT_EQ(agentOf(connection, &given).name.size(), 100u);
    EXPECT_EQ(agentOf(connection, &given).task->size(), 300u);
}

TEST(PlatformCommand, isSummedUpForThePerson)
{
    auto const summary = [](std::string const& method, std::string const& params) {
        auto const value = parseJson(params);
        return summaryOf(method, value->if_object());
    };

    EXPECT_EQ(summary("shell.run", R"({"command": "make all"})"), "Run: make all");
    EXPECT_EQ(summary("shell.run", R"({"command": 5})"), "Run");
    EXPECT_EQ(summary("urls.open", R"({"url": "https://a.example"})"), "Open: https://a.example");
    EXPECT_EQ(summary("apps.open", R"({"name": "Mail"})"), "Open: Mail");
    EXPECT_EQ(summary("apps.activate", R"({"bundleId": "org.mail"})"), "Open: org.mail");
    EXPECT_EQ(summary("files.download", R"({"path": "/a"})"), "Read file: /a");
    EXPECT_EQ(summary("files.upload.begin", R"({"path": "/a"})"), "Write file: /a");
    EXPECT_EQ(summary("actions.perform", R"({"actions": [{}]})"), "1 action");
    EXPECT_EQ(summary("actions.perform", R"({"actions": [{}, {}]})"), "2 actions");
    EXPECT_EQ(summary("actions.perform", "null"), "0 actions");
    EXPECT_EQ(summary("screenshot", "null"), "screenshot");
    EXPECT_EQ(summary("shell.run", R"({"command": "a\u0000\u202eb\n"})"), "Run: ab");
    EXPECT_EQ(summary("shell.run", R"({"command": "rm a\nrm b"})"), "Run: rm a rm b");
    EXPECT_EQ(summary("shell.run", R"({"command": ")" + std::string(5000, 'x') + "\"}"),
              "Run: " + std::string(195, 'x') + "…");
}

} // namespace
} // namespace zelvo::service
