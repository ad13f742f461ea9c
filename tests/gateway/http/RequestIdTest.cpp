#include "gateway/support/Connected.h"
#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

#include <set>

namespace zelvo::service {
namespace {

std::string idIn(Answer const& answer)
{
    auto const found = answer.headers.find("x-request-id");
    return found == answer.headers.end() ? "" : found->second;
}

std::string idInBody(Answer const& answer)
{
    return std::string(answer.json().at("error").at("requestId").as_string());
}

TEST(RequestId, isInEveryAnswerAndDiffers)
{
    Gateway gateway;
    std::set<std::string> ids;

    for (Answer const& answer :
         {gateway.call("GET", "/"), gateway.platform("GET", "/v1/connections"),
          gateway.platform("GET", "/v1/machines/mch_0"), gateway.call("GET", "/v1/connections"),
          gateway.call("GET", "/nothing"), gateway.platform("PUT", "/v1/connections"),
          gateway.platform("POST", "/v1/link-sessions", "{"),
          gateway.call("GET", "/", "", {{"Host", "a.example"}})}) {
        EXPECT_TRUE(idIn(answer).starts_with("req_")) << answer.status << answer.body;
        EXPECT_EQ(idIn(answer).size(), 28u);
        EXPECT_TRUE(ids.insert(idIn(answer)).second);
        if (answer.status >= 400)
            EXPECT_EQ(idInBody(answer), idIn(answer));
    }
}

TEST(RequestId, isThatOfTheFrameIfAMachineRefused)
{
    Connected on;
    on.machine.onFrame([](json::object const& frame) {
        json::object const error{{"code", "denied_by_user"}, {"message", "No"}};
        return json::object{{"id", frame.at("id")}, {"error", error}};
    });

    Answer const answer = on.gateway.command(on.linked.connectionId, "screenshot");

    EXPECT_EQ(answer.errorCode(), "denied_by_user");
    EXPECT_EQ(idInBody(answer), on.machine.frames().back().at("id").as_string());
    EXPECT_EQ(idIn(answer), idInBody(answer));
}

TEST(RetryAfter, isSaidWhereItIsKnown)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();

    Answer const offline = gateway.command(linked.connectionId, "screenshot");
    EXPECT_EQ(offline.status, 503);
    EXPECT_EQ(offline.headers.at("retry-after"), "30");

    Answer wrong;
    for (std::size_t i = 0; i <= AttemptRules().maxAttempts; ++i)
        wrong = gateway.call("GET", "/v1/connections", "", {{"Authorization", "Bearer zk_wrong"}});
    EXPECT_EQ(wrong.status, 429);
    EXPECT_EQ(wrong.headers.at("retry-after"), "60");
    EXPECT_EQ(gateway.platform("GET", "/v1/connections").status, 200);
    EXPECT_FALSE(gateway.call("GET", "/nothing").headers.contains("retry-after"));
}

} // namespace
} // namespace zelvo::service
