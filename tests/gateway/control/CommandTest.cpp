#include "gateway/support/Connected.h"
#include "wire/AgentError.h"
#include "wire/records/ServiceMachines.h"

#include <gtest/gtest.h>

#include <atomic>

namespace zelvo::service {
namespace {

TEST(Command, reachesTheMachineAsAFrame)
{
    Connected on;

    on.post(
        R"({"method": "ui.tree", "params": {"scope": "frontmost"}, "agent": {"name": "Ann", "ref": "r1"}})");

    ASSERT_EQ(on.machine.frames().size(), 1u);
    json::object const frame = on.machine.frames().front();
    EXPECT_EQ(frame.at("method").as_string(), "ui.tree");
    EXPECT_EQ(frame.at("connectionId").as_string(), on.linked.connectionId);
    EXPECT_EQ(writeJson(frame.at("params")), R"({"scope":"frontmost"})");
    EXPECT_EQ(writeJson(frame.at("agent")), R"({"name":"Ann","ref":"r1"})");
    EXPECT_FALSE(frame.at("id").as_string().empty());
}

TEST(Command, needsNeitherParamsNorAgent)
{
    Connected on;

    EXPECT_EQ(on.post(R"({"method": "display.info"})").status, 200);
    EXPECT_EQ(on.post(R"({"method": "display.info", "params": null, "agent": null})").status, 200);

    EXPECT_FALSE(on.machine.frames().back().contains("agent"));
}

TEST(Command, answersAnyResult)
{
    Connected on;

    for (std::string const result : {"null", "[1,2]", R"("text")", R"({"a":{"b":1.5E0}})", "false"}) {
        on.machine.onFrame([result](json::object const&) { return resultOf(*parseJson(result)); });
        EXPECT_EQ(on.post(R"({"method": "x"})").body, R"({"result":)" + result + "}");
    }
}

TEST(Command, givesEachErrorItsStatus)
{
    Connected on;
    std::map<std::string, int> const table = {{"scope_denied", 403},
                                              {"machine_paused", 409},
                                              {"machine_unavailable", 503},
                                              {"permission_missing", 409},
                                              {"machine_busy", 423},
                                              {"hidden_app_active", 403},
                                              {"denied_by_user", 403},
                                              {"confirmation_timeout", 408},
                                              {"snapshot_expired", 410},
                                              {"app_not_frontmost", 409},
                                              {"zelvo_ui_protected", 403},
                                              {"invalid_request", 400},
                                              {"timeout", 504},
                                              {"internal_error", 502}};
    ASSERT_EQ(table.size(), agentErrorCount);

    for (auto const& [code, status] : table) {
        on.machine.onFrame([wire = code](json::object const&) { return errorOf(wire, "the words"); });
        Answer const answer = on.post(R"({"method": "x"})");
        EXPECT_EQ(answer.status, status) << code;
        auto const error = records::fromText<records::APIError>(answer.body);
        ASSERT_TRUE(error) << code;
        EXPECT_EQ(rawValue(error->error.code), code);
        EXPECT_EQ(error->error.message, "the words");
        EXPECT_EQ(error->error.requestId, on.machine.frames().back().at("id").as_string());
        EXPECT_FALSE(error->error.details);
    }
}

TEST(Command, passesDetailsOn)
{
    Connected on;
    on.machine.onFrame([](json::object const&) -> std::optional<json::object> {
        return json::object{
            {"error",
             {{"code", "machine_unavailable"}, {"message", "m"}, {"details", {{"reason", "asleep"}}}}}};
    });

    Answer const answer = on.post(R"({"method": "x"})");

    EXPECT_EQ(writeJson(answer.json().at("error").at("details")), R"({"reason":"asleep"})");
}

// They are kept beyond the memory that the reply may take.
TEST(Command, leavesLargeDetailsOutAndCutsALongMessage)
{
    Connected on;
    std::string message = "m"; // A cut in the middle of a character would be no JSON.
    while (message.size() < 1_MiB)
        message += "\u00e4";
    json::object const large{{"list", json::array(1000, json::string(100, 'd'))}};
    for (json::value const& details : {json::value(large), json::value{{"nested", {large}}}}) {
        on.machine.onFrame([&](json::object const&) -> std::optional<json::object> {
            return json::object{
                {"error", {{"code", "machine_unavailable"}, {"message", message}, {"details", details}}}};
        });

        Answer const answer = on.post(R"({"method": "x"})");

        EXPECT_EQ(answer.status, 503);
        json::object const error = answer.json().at("error").as_object();
        EXPECT_FALSE(error.contains("details"));
        EXPECT_EQ(error.at("message").as_string(), message.substr(0, 4095));
    }
}

TEST(Command, takesAnAnswerThatIsNoneForAFailureOfTheMachine)
{
    Connected on;
    for (std::string const reply :
         {"{}", R"({"error": "broken"})", R"({"error": {}})", R"({"error": {"code": "no_such_code"}})"}) {
        on.machine.onFrame([reply](json::object const&) { return parseJson(reply)->as_object(); });
        Answer const answer = on.post(R"({"method": "x"})");
        EXPECT_EQ(answer.status, 502) << reply;
        EXPECT_EQ(answer.errorCode(), "internal_error") << reply;
    }
}

TEST(Command, toAMachineThatIsAwayFailsAtOnce)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();

    Answer const answer = gateway.command(linked.connectionId, "screenshot");

    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.errorCode(), "machine_offline");
}

TEST(Command, failsWhenTheMachineGoesAway)
{
    Connected on;
    on.machine.onFrame([&](json::object const&) -> std::optional<json::object> {
        on.machine.drop();
        return std::nullopt;
    });

    EXPECT_EQ(on.post(R"({"method": "x"})").errorCode(), "machine_offline");
}

TEST(Command, timesOut)
{
    Connected on([](Settings& settings) { settings.commandTimeout = std::chrono::milliseconds(150); });
    on.machine.onFrame([](json::object const&) -> std::optional<json::object> { return std::nullopt; });

    Answer const answer = on.post(R"({"method": "x"})");

    EXPECT_EQ(answer.status, 504);
    EXPECT_EQ(answer.errorCode(), "timeout");
    std::string const late(on.machine.frames().front().at("id").as_string());
    on.machine.sendText(R"({"id": ")" + late + R"(", "result": "too late"})");
    on.machine.onFrame(answerOk);
    EXPECT_EQ(on.post(R"({"method": "x"})").body, R"({"result":{"ok":true}})");
}

TEST(Command, matchesRepliesThatComeInAnotherOrder)
{
    Connected on;
    std::vector<std::string> ids;
    on.machine.onFrame([&](json::object const& frame) -> std::optional<json::object> {
        ids.emplace_back(frame.at("id").as_string());
        if (ids.size() == 2)
            for (std::string const& id : {ids[1], ids[0]})
                on.machine.sendText(R"({"id": ")" + id + R"(", "result": ")" + id + "\"}");
        return std::nullopt;
    });
    Answer first;

    std::thread other([&] { first = on.post(R"({"method": "first"})"); });
    EXPECT_TRUE(becomes([&] { return on.machine.frames().size() == 1; }));
    Answer const second = on.post(R"({"method": "second"})");
    other.join();

    EXPECT_EQ(first.body, R"({"result":")" + ids.at(0) + "\"}");
    EXPECT_EQ(second.body, R"({"result":")" + ids.at(1) + "\"}");
}

TEST(Command, ofTheGatewayItselfIsNotForPlatforms)
{
    Connected on;

    for (std::string const method :
         {"connection.revoke", "connections.names", "agents.update", "queue.offer", "heartbeat"}) {
        Answer const answer =
            on.post(R"({"method": ")" + method + R"(", "params": {"connectionId": "other"}})");
        EXPECT_EQ(answer.status, 403) << method;
        EXPECT_EQ(answer.errorCode(), "forbidden") << method;
    }
    EXPECT_TRUE(on.machine.frames().empty());
}

TEST(Command, refusesBadBodies)
{
    Connected on;

    for (std::string const body :
         {"", "nonsense", "[]", "5", "{}", R"({"method": 5})", R"({"method": ""})",
          R"({"method": "x", "params": []})", R"({"method": "x", "params": "y"})",
          R"({"method": "x", "agent": "Ann"})", "\xff{}", R"({"method": "x", "n": 1e400})"}) {
        Answer const answer = on.post(body);
        EXPECT_EQ(answer.status, 400) << body;
        EXPECT_EQ(answer.errorCode(), "invalid_request") << body;
    }
    EXPECT_EQ(on.post(std::string(1'000'000, '[')).status, 400);
    EXPECT_TRUE(on.machine.frames().empty());
    EXPECT_EQ(on.post(R"({"method": "x"})").status, 200);
}

TEST(Command, needsAConnectionThatExists)
{
    Connected on;

    EXPECT_EQ(on.gateway.command("con_none", "screenshot").errorCode(), "not_found");
    EXPECT_EQ(on.gateway.command("..%2f..", "screenshot").errorCode(), "not_found");
}

TEST(Command, needsTheApiKey)
{
    Connected on;
    std::string const path = on.path();
    std::string const key = on.gateway.apiKey();

    for (std::string const& value :
         std::vector<std::string>{"", "Bearer", "Bearer ", "Bearer " + key + "x", "Bearer " + key.substr(1),
                                  "Basic " + key, key, "Bearer " + on.linked.token}) {
        Answer const answer = on.gateway.call("POST", path, R"({"method": "x"})", {{"Authorization", value}});
        EXPECT_EQ(answer.status, 401) << value.substr(0, 7);
        EXPECT_EQ(answer.errorCode(), "unauthorized");
        EXPECT_EQ(answer.body.find(key), std::string::npos);
    }
    EXPECT_EQ(on.gateway.call("POST", path, R"({"method": "x"})").status, 401);
    EXPECT_EQ(
        on.gateway.call("POST", path, R"({"method": "x"})", {{"Authorization", "bearer " + key}}).status,
        200);
    EXPECT_EQ(on.machine.frames().size(), 1u);
}

TEST(Command, isRefusedWhenTooManyWait)
{
    Connected on([](Settings& settings) { settings.limits.callsOfMachine = 2; });
    on.machine.onFrame([](json::object const&) -> std::optional<json::object> { return std::nullopt; });
    std::vector<std::thread> waiting;
    for (int i = 0; i < 2; ++i)
        waiting.emplace_back([&] { on.post(R"({"method": "x"})"); });
    ASSERT_TRUE(becomes([&] { return on.machine.frames().size() == 2; }));

    Answer const answer = on.post(R"({"method": "x"})");

    EXPECT_EQ(answer.status, 429);
    EXPECT_EQ(answer.headers.at("retry-after"), "5");
    on.machine.drop();
    for (std::thread& thread : waiting)
        thread.join();
}

} // namespace
} // namespace zelvo::service
