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

std::string upload(std::string const& method, std::string const& params)
{
    return R"({"id":"1","method":")" + method + R"(","params":)" + params + "}";
}

TEST(RpcFrame, keepsTheContentOfAFileInTheMessagesOwnMemory)
{
    std::string const content(2 << 20, 'A');
    std::string text = upload("files.upload.begin", R"({"path":"/a","data":")" + content + R"("})");
    char const* const memory = text.data();

    auto const frame = takeFrame(std::move(text));

    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->data, content);
    EXPECT_EQ(frame->data.data(), memory);
    EXPECT_EQ(frame->params, (json::object{{"path", "/a"}}));
    EXPECT_EQ(parseFrame(writeFrame(*frame))->params.at("data").as_string(), content);
}

TEST(RpcFrame, keepsEveryOtherTextInTheParams)
{
    std::string const content(2 << 20, 'A');
    std::string const quoted = "\"" + content + "\"";
    std::vector<std::string> const texts = {
        upload("clipboard.set", R"({"data":)" + quoted + "}"),
        upload("files.upload.begin", R"({"text":)" + quoted + "}"),
        upload("files.upload.begin", R"({"data":[)" + quoted + "]}"),
        upload("files.upload.begin", R"({"data":{"data":)" + quoted + "}}"),
        upload("files.upload.begin", R"({"x":{"data":1},"y":)" + quoted + "}"),
        upload("files.upload.begin", "[" + quoted + "]"),
        upload("files.upload.begin",
               R"({"data":"\u0041)" + content + "\"}"), // Escaped, so it is not whole anywhere.
        upload("files.upload.begin", R"({"data":)" + quoted + R"(,"data":"short"})"),
        upload("files.upload.begin", R"({"data":)" + quoted + R"(,"data":5})"),
        upload("files.upload.begin", R"({"data":)" + quoted + R"(},"params":{"data":"short"})"),
        upload("files.upload.begin", R"({"data":"short"})"),
        upload("files.upload.begin", R"({"data":18446744073709551615})"),
    };

    for (std::string const& text : texts) {
        auto const frame = takeFrame(text);
        ASSERT_TRUE(frame) << text.substr(0, 100);
        EXPECT_EQ(frame->data, "");
        EXPECT_TRUE(*frame == *parseFrame(text)) << text.substr(0, 100);
    }
    EXPECT_FALSE(takeFrame(texts.front() + "x"));
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
