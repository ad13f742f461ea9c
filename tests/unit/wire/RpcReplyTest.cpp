#include "wire/RpcReply.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(RpcReply, carriesAResult)
{
    RpcReply const reply = RpcReply::result("7", json::object{{"ok", true}});

    EXPECT_EQ(json::value(reply.payload), *parseJson(R"({"id": "7", "result": {"ok": true}})"));
}

TEST(RpcReply, carriesAnyResult)
{
    EXPECT_EQ(json::value(RpcReply::result("7", nullptr).payload),
              *parseJson(R"({"id": "7", "result": null})"));
    EXPECT_EQ(json::value(RpcReply::result("7", json::array{1}).payload),
              *parseJson(R"({"id": "7", "result": [1]})"));
}

TEST(RpcReply, movesItsResult)
{
    json::value picture = json::string(100'000, 'x');
    char const* const address = picture.get_string().data();
    RpcReply const reply = RpcReply::result("7", std::move(picture));
    EXPECT_EQ(reply.payload.at("result").get_string().data(), address);
}

TEST(RpcReply, sendsAPlainFailureWithoutDetails)
{
    RpcReply const reply = RpcReply::failure("7", AgentError::machineBusy);

    EXPECT_EQ(
        json::value(reply.payload),
        *parseJson(
            R"({"id": "7", "error": {"code": "machine_busy", "message": "Another control session is in progress"}})"));
}

TEST(RpcReply, sendsEmptyDetailsWhenGiven)
{
    std::map<std::string, std::string> const none;

    RpcReply const reply = RpcReply::failure("7", AgentError::machineBusy, none, "Waiting.");

    EXPECT_EQ(json::value(reply.payload),
              *parseJson(
                  R"({"id": "7", "error": {"code": "machine_busy", "message": "Waiting.", "details": {}}})"));
}

TEST(RpcReply, sendsDetailsAsTexts)
{
    std::map<std::string, std::string> const details = {{"reason", "asleep"}, {"failedIndex", "3"}};

    RpcReply const reply = RpcReply::failure("7", AgentError::machineUnavailable, details);

    json::object const& error = reply.payload.at("error").as_object();
    EXPECT_EQ(error.at("message").as_string(), "The Mac is unavailable right now");
    EXPECT_EQ(error.at("details"), *parseJson(R"({"reason": "asleep", "failedIndex": "3"})"));
}

} // namespace
} // namespace zelvo
