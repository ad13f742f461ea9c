#include "wire/RpcFrame.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(RpcFrame, readsEveryKey)
{
    auto const frame = parseFrame(
        R"({"id": "1", "method": "screenshot", "connectionId": "c", "params": {"quality": 80}, "agent": {"name": "Ann", "ref": "r"}})");

    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->id, "1");
    EXPECT_EQ(frame->method, "screenshot");
    EXPECT_EQ(frame->connectionId, "c");
    EXPECT_EQ(frame->params.at("quality").as_int64(), 80);
    EXPECT_EQ(frame->agentName, "Ann");
}

TEST(RpcFrame, needsOnlyIdAndMethod)
{
    auto const frame = parseFrame(R"({"id": "", "method": ""})");

    ASSERT_TRUE(frame);
    EXPECT_FALSE(frame->connectionId);
    EXPECT_TRUE(frame->params.empty());
    EXPECT_FALSE(frame->agentName);
}

TEST(RpcFrame, takesParamsOfAnotherTypeAsEmpty)
{
    for (std::string_view const params : {"5", "[1]", "\"x\"", "null", "true"}) {
        auto const frame = parseFrame(R"({"id": "1", "method": "m", "params": )" + std::string(params) + "}");
        ASSERT_TRUE(frame) << params;
        EXPECT_TRUE(frame->params.empty()) << params;
    }
}

TEST(RpcFrame, takesAnAgentOfAnotherTypeAsAbsent)
{
    for (std::string_view const agent : {"\"x\"", "5", "[]", "{}", R"({"name": 5})", R"({"Name": "x"})"}) {
        auto const frame = parseFrame(R"({"id": "1", "method": "m", "agent": )" + std::string(agent) + "}");
        ASSERT_TRUE(frame) << agent;
        EXPECT_FALSE(frame->agentName) << agent;
    }
}

TEST(RpcFrame, takesAConnectionIdOfAnotherTypeAsAbsent)
{
    auto const frame = parseFrame(R"({"id": "1", "method": "m", "connectionId": 7})");

    ASSERT_TRUE(frame);
    EXPECT_FALSE(frame->connectionId);
}

TEST(RpcFrame, isDroppedWithoutATextMethod)
{
    EXPECT_FALSE(parseFrame(R"({"id": "1"})"));
    EXPECT_FALSE(parseFrame(R"({"id": "1", "method": 5})"));
    EXPECT_FALSE(parseFrame(R"({"id": "1", "method": null})"));
    EXPECT_FALSE(parseFrame(R"({"id": "1", "Method": "m"})"));
}

TEST(RpcFrame, isDroppedWithoutATextId)
{
    EXPECT_FALSE(parseFrame(R"({"method": "m"})"));
    EXPECT_FALSE(parseFrame(R"({"id": 1, "method": "m"})"));
    EXPECT_FALSE(parseFrame(R"({"ID": "1", "method": "m"})"));
}

TEST(RpcFrame, isDroppedWhenItIsNoJsonObject)
{
    for (std::string_view const text : {"", "5", "null", "[]", R"(["id", "method"])", "{", "\"id\"", "\xff"})
        EXPECT_FALSE(parseFrame(text)) << text;
}

TEST(RpcFrame, comparesKeysByCase)
{
    auto const frame = parseFrame(R"({"id": "1", "method": "m", "params": {"snapshotID": "s"}})");

    ASSERT_TRUE(frame);
    EXPECT_FALSE(read::text(frame->params, "snapshotId"));
    EXPECT_EQ(read::text(frame->params, "snapshotID"), "s");
}

TEST(RpcFrame, keepsAMethodOutsideTheTable)
{
    EXPECT_EQ(parseFrame(R"({"id": "1", "method": "no.such"})")->method, "no.such");
}

TEST(RpcFrame, isWrittenAsItIsRead)
{
    RpcFrame const frame{.id = "1",
                         .method = "type",
                         .connectionId = "c",
                         .params = {{"text", "\"\n\xf0\x9f\x91\x8d"}},
                         .agentName = "Ann"};

    EXPECT_EQ(parseFrame(writeFrame(frame)), frame);
    EXPECT_EQ(parseFrame(writeFrame({.id = "2", .method = "m"})), (RpcFrame{.id = "2", .method = "m"}));
}

} // namespace
} // namespace zelvo
