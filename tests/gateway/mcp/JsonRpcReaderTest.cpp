#include "ZelvoGateway/mcp/JsonRpcReader.h"

#include <gtest/gtest.h>

#include <string>

namespace zelvo::service {
namespace {

/// The only message of a text.
JsonRpcMessage only(std::string_view text, JsonRpcLimits const& limits = {})
{
    JsonRpcDocument document = readJsonRpc(text, limits);
    EXPECT_EQ(document.messages.size(), 1U) << text;
    EXPECT_FALSE(document.isBatch) << text;
    return document.messages.front();
}

/// The code that a text is refused with, and the id of the reply; "accepted" if it is not refused.
std::string refusal(std::string_view text, JsonRpcLimits const& limits = {})
{
    JsonRpcMessage const message = only(text, limits);
    auto const* const fault = std::get_if<JsonRpcFault>(&message);
    if (!fault)
        return "accepted";
    EXPECT_FALSE(fault->error.message.empty()) << text;
    return std::to_string(static_cast<int>(fault->error.code)) + " " +
           writeJson(errorMessage(fault->id, {.message = ""}));
}

std::string withId(std::string_view code, std::string_view id)
{
    return std::string(code) + R"( {"jsonrpc":"2.0","id":)" + std::string(id) +
           R"(,"error":{"code":-32603,"message":""}})";
}

std::string withoutId(std::string_view code)
{
    return std::string(code) + R"( {"jsonrpc":"2.0","error":{"code":-32603,"message":""}})";
}

std::string nested(std::size_t levels)
{
    return R"({"jsonrpc":"2.0","id":1,"method":"m","params":)" +
           std::string(levels, '[').replace(0, 1, "{\"a\":") + std::string(levels - 1, ']') + "}}";
}

TEST(JsonRpcReader, readsARequest)
{
    JsonRpcMessage const message =
        only(R"({"jsonrpc":"2.0","id":7,"method":"tools/call","params":{"name":"app_list"},"more":1})");

    EXPECT_EQ(message, JsonRpcMessage(JsonRpcRequest{
                           .id = std::int64_t(7), .method = "tools/call", .params = {{"name", "app_list"}}}));
}

TEST(JsonRpcReader, readsTextsAndIntegersAsIds)
{
    auto const id = [](std::string_view text) {
        return std::get<JsonRpcRequest>(
                   only(R"({"jsonrpc":"2.0","method":"ping","id":)" + std::string(text) + "}"))
            .id;
    };

    EXPECT_EQ(id("\"a\""), JsonRpcId("a"));
    EXPECT_EQ(id("\"\""), JsonRpcId(""));
    EXPECT_EQ(id("-3"), JsonRpcId(std::int64_t(-3)));
    EXPECT_EQ(id("0"), JsonRpcId(std::int64_t(0)));
    EXPECT_EQ(id("5.0"), JsonRpcId(std::int64_t(5)));
}

TEST(JsonRpcReader, readsANotification)
{
    EXPECT_EQ(only(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"),
              JsonRpcMessage(JsonRpcNotification{.method = "notifications/initialized"}));
}

TEST(JsonRpcReader, readsRepliesThatNobodyAskedFor)
{
    EXPECT_EQ(only(R"({"jsonrpc":"2.0","id":1,"result":{}})"), JsonRpcMessage(JsonRpcReply()));
    EXPECT_EQ(only(R"({"jsonrpc":"2.0","id":1,"error":{"code":1}})"), JsonRpcMessage(JsonRpcReply()));
}

TEST(JsonRpcReader, neverAnswersANotificationWithBadParams)
{
    EXPECT_EQ(only(R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":[1]})"),
              JsonRpcMessage(JsonRpcNotification{.method = "notifications/cancelled"}));
}

TEST(JsonRpcReader, refusesWhatIsNotJson)
{
    for (std::string_view const text :
         {"", " ", "{", "nonsense", "{}x", "{\"jsonrpc\":\"\xff\"}", "\xef\xbb\xbf{}", "1e999"})
        EXPECT_EQ(refusal(text), withoutId("-32700")) << text;
}

TEST(JsonRpcReader, refusesWhatIsNoMessage)
{
    for (std::string_view const text :
         {"1", "null", "\"ping\"", "true", "{}", R"({"jsonrpc":"2.0"})", R"({"method":"ping"})",
          R"({"jsonrpc":2.0,"method":"ping"})", R"({"jsonrpc":"1.0","method":"ping"})",
          R"({"jsonrpc":"2.0","method":1})", R"({"jsonrpc":"2.0","method":null})"})
        EXPECT_EQ(refusal(text), withoutId("-32600")) << text;
}

TEST(JsonRpcReader, namesTheRequestThatItRefuses)
{
    EXPECT_EQ(refusal(R"({"id":4,"method":"ping"})"), withId("-32600", "4"));
    EXPECT_EQ(refusal(R"({"jsonrpc":"2.0","id":"a","method":{}})"), withId("-32600", "\"a\""));
    EXPECT_EQ(refusal(R"({"jsonrpc":"2.0","id":4})"), withId("-32600", "4"));
    EXPECT_EQ(refusal(R"({"jsonrpc":"2.0","id":4,"method":"ping","params":[]})"), withId("-32602", "4"));
    EXPECT_EQ(refusal(R"({"jsonrpc":"2.0","id":4,"method":"ping","params":null})"), withId("-32602", "4"));
}

TEST(JsonRpcReader, refusesOtherIds)
{
    for (std::string_view const id : {"null", "1.5", "true", "[]", "{}", "18446744073709551615"})
        EXPECT_EQ(refusal(R"({"jsonrpc":"2.0","method":"ping","id":)" + std::string(id) + "}"),
                  withoutId("-32600"))
            << id;
}

TEST(JsonRpcReader, bounds)
{
    JsonRpcLimits const limits{.bytes = 100, .depth = 3, .values = 8, .messages = 2, .idBytes = 3};
    std::string const request = R"({"jsonrpc":"2.0","id":1,"method":"m","params":{"a":)";

    EXPECT_EQ(refusal(request + R"("b"}})", limits), "accepted");
    EXPECT_EQ(refusal(request + "\"" + std::string(100, 'b') + "\"}}", limits), withoutId("-32600"));
    EXPECT_EQ(refusal(request + "[1]}}", limits), "accepted");
    EXPECT_EQ(refusal(request + "[[1]]}}", limits), withoutId("-32600"));
    EXPECT_EQ(refusal(request + "[1,2]}}", limits), "accepted");
    EXPECT_EQ(refusal(request + "[1,2,3]}}", limits), withoutId("-32600"));
    EXPECT_EQ(refusal(R"({"jsonrpc":"2.0","id":"abc","method":"m"})", limits), "accepted");
    EXPECT_EQ(refusal(R"({"jsonrpc":"2.0","id":"abcd","method":"m"})", limits), withoutId("-32600"));
    EXPECT_EQ(refusal(R"([{},{},{}])", limits), withoutId("-32600"));
}

TEST(JsonRpcReader, boundsWithoutBeingAsked)
{
    EXPECT_EQ(refusal(nested(63)), "accepted");
    EXPECT_EQ(refusal(nested(64)), withoutId("-32600"));
    EXPECT_EQ(refusal(nested(600)), withoutId("-32700"));
    EXPECT_EQ(refusal(R"({"jsonrpc":"2.0","id":1,"method":"m","params":{"a":")" + std::string(16_MiB, 'a') +
                      "\"}}"),
              withoutId("-32600"));
}

TEST(JsonRpcReader, readsABatch)
{
    JsonRpcDocument const document =
        readJsonRpc(R"([{"jsonrpc":"2.0","id":1,"method":"ping"},{"jsonrpc":"2.0","method":"n"},3])");

    EXPECT_TRUE(document.isBatch);
    ASSERT_EQ(document.messages.size(), 3U);
    EXPECT_TRUE(std::holds_alternative<JsonRpcRequest>(document.messages[0]));
    EXPECT_TRUE(std::holds_alternative<JsonRpcNotification>(document.messages[1]));
    EXPECT_TRUE(std::holds_alternative<JsonRpcFault>(document.messages[2]));
}

TEST(JsonRpcReader, refusesAnEmptyBatchAsAWhole)
{
    EXPECT_EQ(refusal("[]"), withoutId("-32600"));
}

TEST(JsonRpcReader, doesNotOpenABatchInABatch)
{
    JsonRpcDocument const document = readJsonRpc(R"([[{"jsonrpc":"2.0","id":1,"method":"ping"}]])");

    ASSERT_EQ(document.messages.size(), 1U);
    EXPECT_TRUE(std::holds_alternative<JsonRpcFault>(document.messages[0]));
}

TEST(JsonRpc, writesMessages)
{
    EXPECT_EQ(writeJson(resultMessage(std::int64_t(1), {{"a", 2}})),
              R"({"jsonrpc":"2.0","id":1,"result":{"a":2}})");
    EXPECT_EQ(
        writeJson(errorMessage(JsonRpcId("x"), {.code = JsonRpcCode::unsupportedVersion,
                                                .message = "No",
                                                .data = json::object{{"requested", "1"}}})),
        R"({"jsonrpc":"2.0","id":"x","error":{"code":-32022,"message":"No","data":{"requested":"1"}}})");
    EXPECT_EQ(writeJson(notificationMessage("n", {})), R"({"jsonrpc":"2.0","method":"n","params":{}})");
}

} // namespace
} // namespace zelvo::service
