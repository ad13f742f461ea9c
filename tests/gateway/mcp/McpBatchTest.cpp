#include "gateway/mcp/McpFixture.h"

namespace zelvo::service {
namespace {

class McpBatch : public McpFixture {
protected:
    static std::string batch(std::vector<std::string> const& messages)
    {
        std::string text = "[";
        for (std::string const& message : messages)
            text += (text.size() > 1 ? "," : "") + message;
        return text + "]";
    }

    static std::string call(std::string_view id) { return request(id, "tools/call", R"({"name":"look"})"); }

    /// The ids of the replies in the only message.
    static std::string ids(McpOutput const& output)
    {
        EXPECT_EQ(output.messages.size(), 1U);
        std::string list;
        for (json::value const& reply : output.messages.at(0).body.as_array())
            list += (list.empty() ? "" : " ") +
                    (reply.as_object().contains("id") ? writeJson(reply.at("id")) : "none");
        return list;
    }
};

TEST_F(McpBatch, isTakenInTheVersionsThatHaveIt)
{
    for (std::string_view const version : {"2024-11-05", "2025-03-26"}) {
        McpSession fresh(server);
        fresh.receive(readJsonRpc(
            request("0", "initialize", R"({"protocolVersion":")" + std::string(version) + R"("})")));

        EXPECT_EQ(ids(fresh.receive(readJsonRpc(batch({request("1", "ping"), request("2", "ping")})))),
                  "1 2");
    }
}

TEST_F(McpBatch, isRefusedAsAWholeInOthers)
{
    for (std::string_view const version : {"2025-06-18", "2025-11-25"}) {
        McpSession fresh(server);
        fresh.receive(readJsonRpc(
            request("0", "initialize", R"({"protocolVersion":")" + std::string(version) + R"("})")));

        EXPECT_EQ(error(fresh.receive(readJsonRpc(batch({call("1"), request("2", "ping")})))), "-32600");
        EXPECT_EQ(fresh.openCalls(), 0U);
    }
}

TEST_F(McpBatch, isRefusedBeforeTheHandshake)
{
    EXPECT_EQ(error(receive(batch({request("1", "ping")}))), "-32600");
    EXPECT_EQ(error(receive(batch({request("1", "initialize", R"({"protocolVersion":"2025-03-26"})")}))),
              "-32600");
    EXPECT_EQ(session.handshakeVersion(), std::nullopt);
}

TEST_F(McpBatch, isAnsweredWhenAllOfItIsDone)
{
    initialize("2025-03-26");

    McpOutput const begun = receive(batch({call("1"), request("2", "ping"), call("3"), "7"}));

    EXPECT_TRUE(begun.messages.empty());
    EXPECT_TRUE(begun.finished.empty());
    ASSERT_EQ(begun.calls.size(), 2U);
    EXPECT_TRUE(isSilent(session.complete(begun.calls[1].number, answer("c"))));
    McpOutput const ended = session.complete(begun.calls[0].number, answer("a"));
    EXPECT_EQ(ids(ended), "2 none 3 1");
    EXPECT_EQ(ended.finished, std::vector{begun.exchange});
}

TEST_F(McpBatch, hasNoAnswerWithoutRequests)
{
    initialize("2025-03-26");

    McpOutput const output = receive(batch({notification("notifications/initialized")}));

    EXPECT_TRUE(isSilent(output));
    EXPECT_EQ(output.finished, std::vector{output.exchange});
}

TEST_F(McpBatch, answersTheRestWhenACallIsCancelled)
{
    initialize("2025-03-26");
    McpOutput const begun = receive(batch({call("1"), request("2", "ping")}));

    McpOutput const output = receive(notification("notifications/cancelled", R"({"requestId":1})"));

    EXPECT_EQ(output.cancelled, std::vector{begun.calls.at(0).number});
    EXPECT_EQ(ids(output), "2");
    EXPECT_EQ(output.messages.at(0).exchange, begun.exchange);
}

TEST_F(McpBatch, doesNotBeginACallThatItCancels)
{
    initialize("2025-03-26");

    McpOutput const output =
        receive(batch({call("1"), notification("notifications/cancelled", R"({"requestId":1})")}));

    EXPECT_TRUE(isSilent(output));
    EXPECT_EQ(output.finished, std::vector{output.exchange});
    EXPECT_EQ(session.openCalls(), 0U);
}

TEST_F(McpBatch, refusesTheSameIdTwice)
{
    initialize("2025-03-26");

    McpOutput const begun = receive(batch({call("1"), call("1")}));

    ASSERT_EQ(begun.calls.size(), 1U);
    EXPECT_EQ(ids(session.complete(begun.calls[0].number, answer("a"))), "none 1");
}

TEST_F(McpBatch, sendsProgressWithoutWaitingForTheRest)
{
    initialize("2025-03-26");
    McpOutput const begun = receive(
        batch({request("1", "tools/call", R"({"name":"look","_meta":{"progressToken":"t"}})"), call("2")}));

    McpOutput const output = session.progress(begun.calls.at(0).number, 1, "waits");

    EXPECT_EQ(body(output).at("method"), "notifications/progress");
}

} // namespace
} // namespace zelvo::service
