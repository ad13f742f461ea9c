#include "ZelvoGateway/control/PlatformCommand.h"

#include "ZelvoGateway/base/Failure.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

PlatformCommand readText(std::string const& text)
{
    return readCommand(parseJson(text)->as_object());
}

/// The words with which it is refused; empty when it is not.
std::string refusal(std::string const& delivery)
{
    try {
        readText(R"({"method": "x", "delivery": )" + delivery + "}");
    } catch (Failure const& failure) {
        EXPECT_EQ(failure.code, ErrorCode::invalidRequest) << delivery;
        return failure.message;
    }
    return "";
}

StoredConnection const connection{.id = "con_1", .platformName = "Acme"};

TEST(PlatformCommand, readsDeliveryOptions)
{
    auto const command = readText(R"({"method": "shell.run", "delivery":
        {"whenUnavailable": "queue", "ttlSeconds": 90, "confirmationTimeoutMs": 5000}})");

    EXPECT_TRUE(command.mayBeQueued());
    EXPECT_FALSE(command.mustNotWait());
    EXPECT_EQ(command.delivery.ttlSeconds, 90);
    EXPECT_EQ(writeJson(*command.params), R"({"confirmationTimeoutMs":5000})");
}

TEST(PlatformCommand, needsNoDeliveryOptions)
{
    for (std::string const delivery : {"null", "{}", R"({"whenUnavailable": null, "ttlSeconds": null})"}) {
        auto const command = readText(R"({"method": "x", "delivery": )" + delivery + "}");
        EXPECT_FALSE(command.mayBeQueued()) << delivery;
        EXPECT_FALSE(command.mustNotWait()) << delivery;
        EXPECT_EQ(command.delivery, records::DeliveryOptions()) << delivery;
    }
    EXPECT_FALSE(readText(R"({"method": "x"})").params);
}

TEST(PlatformCommand, refusesWrongDeliveryOptionsByName)
{
    std::string const ttl = R"("ttlSeconds" must be an integer from 1 to 604800)";
    std::string const confirmation = R"("confirmationTimeoutMs" must be an integer from 1000 to 600000)";
    std::string const when = R"("whenUnavailable" must be "fail" or "queue")";
    std::map<std::string, std::string> const table = {
        {"5", R"("delivery" must be an object)"},
        {"[]", R"("delivery" must be an object)"},
        {R"("queue")", R"("delivery" must be an object)"},
        {R"({"whenUnavailable": "Queue"})", when},
        {R"({"whenUnavailable": "wait"})", when},
        {R"({"whenUnavailable": true})", when},
        {R"({"whenUnavailable": {}})", when},
        {R"({"ttlSeconds": 0})", ttl},
        {R"({"ttlSeconds": -1})", ttl},
        {R"({"ttlSeconds": 604801})", ttl},
        {R"({"ttlSeconds": 1.5})", ttl},
        {R"({"ttlSeconds": "60"})", ttl},
        {R"({"ttlSeconds": 9223372036854775807})", ttl},
        {R"({"ttlSeconds": 1e300})", ttl},
        {R"({"confirmationTimeoutMs": 999})", confirmation},
        {R"({"confirmationTimeoutMs": 600001})", confirmation},
        {R"({"confirmationTimeoutMs": false})", confirmation},
        {R"({"ttl": 60})", R"("ttl" is no delivery option)"},
        {R"({"WhenUnavailable": "queue"})", R"("WhenUnavailable" is no delivery option)"}};

    for (auto const& [delivery, words] : table)
        EXPECT_EQ(refusal(delivery), words) << delivery;
}

TEST(PlatformCommand, takesTheBoundsThemselves)
{
    EXPECT_EQ(refusal(R"({"ttlSeconds": 1, "confirmationTimeoutMs": 1000})"), "");
    EXPECT_EQ(refusal(R"({"ttlSeconds": 604800, "confirmationTimeoutMs": 600000})"), "");
    EXPECT_EQ(refusal(R"({"ttlSeconds": 60.0})"), ""); // The same integer, written otherwise.
}

TEST(PlatformCommand, saysWhereAMisplacedOptionBelongs)
{
    for (std::string const key : {"whenUnavailable", "ttlSeconds", "confirmationTimeoutMs"}) {
        try {
            readText(R"({"method": "x", ")" + key + R"(": "queue"})");
            ADD_FAILURE() << key;
        } catch (Failure const& failure) {
            EXPECT_EQ(failure.message, "\"" + key + R"(" belongs into "delivery")");
        }
    }
}

TEST(PlatformCommand, givesTheConfirmationTimeToTheMethodsThatTakeIt)
{
    std::map<std::string, bool> const table = {
        {"shell.run", true}, {"urls.open", true}, {"files.upload.begin", false}, {"actions.perform", false}};

    for (auto const& [method, takes] : table) {
        auto const command = readText(
            R"({"method": ")" + method +
            R"(", "params": {"confirmationTimeoutMs": 7}, "delivery": {"confirmationTimeoutMs": 9000}})");
        EXPECT_EQ(command.params->at("confirmationTimeoutMs").as_int64(), takes ? 9000 : 7) << method;
    }
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

TEST(PlatformCommand, needsControlForWhatActsOnTheDesktopOnly)
{
    for (std::string const method : {"actions.perform", "apps.open", "apps.activate", "urls.open"})
        EXPECT_TRUE(needsControl(method)) << method;
    for (std::string const method : {"screenshot", "ui.tree", "cursor.position", "shell.run",
                                     "files.download", "clipboard.get", "display.info", "nonsense"})
        EXPECT_FALSE(needsControl(method)) << method;
}

TEST(PlatformCommand, isSentAgainOnlyWhenNothingOfItWasDone)
{
    EXPECT_TRUE(wasNotStarted("shell.run", ErrorCode::machinePaused));
    EXPECT_TRUE(wasNotStarted("screenshot", ErrorCode::machineUnavailable));
    EXPECT_FALSE(wasNotStarted("actions.perform", ErrorCode::machinePaused));
    EXPECT_FALSE(wasNotStarted("shell.run", ErrorCode::deniedByUser));
    EXPECT_FALSE(wasNotStarted("shell.run", ErrorCode::internalError));
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
