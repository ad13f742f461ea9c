#include "gateway/mcp/McpFixture.h"

namespace zelvo::service {
namespace {

/// A session after a handshake.
class McpSessionTest : public McpFixture {
protected:
    McpSessionTest() { initialize(); }

    static std::string cancelOf(std::string_view id)
    {
        return notification("notifications/cancelled", R"({"requestId":)" + std::string(id) + "}");
    }
};

TEST_F(McpSessionTest, listsTools)
{
    json::object const told = result(receive(request("1", "tools/list")));

    EXPECT_EQ(writeJson(told.at("tools").at(0)),
              R"({"name":"look","title":"Look","description":"Looks.","inputSchema":{"type":"object"},)"
              R"("annotations":{"readOnlyHint":false,"destructiveHint":false,"idempotentHint":false,)"
              R"("openWorldHint":false}})");
    EXPECT_EQ(told.at("tools").as_array().size(), 2U);
    EXPECT_FALSE(told.contains("nextCursor"));
}

TEST_F(McpSessionTest, refusesACursorThatItNeverGave)
{
    EXPECT_EQ(error(receive(request("1", "tools/list", R"({"cursor":"x"})"))), "-32602 of 1");
}

TEST_F(McpSessionTest, answersPings)
{
    EXPECT_EQ(writeJson(body(receive(request("\"p\"", "ping")))),
              R"({"jsonrpc":"2.0","id":"p","result":{}})");
}

TEST_F(McpSessionTest, refusesUnknownMethods)
{
    for (std::string_view const method :
         {"resources/list", "prompts/list", "logging/setLevel", "tasks/list", "", "Ping"})
        EXPECT_EQ(error(receive(request("1", method))), "-32601 of 1") << method;
}

TEST_F(McpSessionTest, showsAnUnknownMethodInOneShortLine)
{
    json::object const told = body(receive(request("1", R"(a\nb\u202e)" + std::string(10'000, 'x'))));

    std::string const message(told.at("error").at("message").as_string());
    EXPECT_LT(message.size(), 100U);
    EXPECT_EQ(message.find('\n'), std::string::npos);
}

TEST_F(McpSessionTest, answersNeitherNotificationsNorReplies)
{
    EXPECT_TRUE(isSilent(receive(notification("notifications/initialized"))));
    EXPECT_TRUE(isSilent(receive(notification("notifications/unknown"))));
    EXPECT_TRUE(isSilent(receive(notification("tools/call", R"({"name":"look"})"))));
    EXPECT_TRUE(isSilent(receive(R"({"jsonrpc":"2.0","id":1,"result":{}})")));
}

TEST_F(McpSessionTest, finishesTheExchangeOfANotificationAtOnce)
{
    McpOutput const output = receive(notification("notifications/initialized"));

    EXPECT_EQ(output.finished, std::vector{output.exchange});
}

TEST_F(McpSessionTest, answersFaults)
{
    EXPECT_EQ(error(receive("{")), "-32700");
    EXPECT_EQ(error(receive("[]")), "-32600");
    EXPECT_EQ(error(receive(R"({"id":3,"method":"ping"})")), "-32600 of 3");
}

TEST_F(McpSessionTest, carriesACallAndItsAnswer)
{
    McpOutput const begun = receive(request("1", "tools/call", R"({"name":"count","arguments":{"to":3}})"));

    EXPECT_TRUE(begun.messages.empty());
    EXPECT_TRUE(begun.finished.empty());
    ASSERT_EQ(begun.calls.size(), 1U);
    EXPECT_EQ(begun.calls.front().tool, "count");
    EXPECT_EQ(begun.calls.front().arguments, (json::object{{"to", 3}}));
    EXPECT_FALSE(begun.calls.front().wantsProgress);

    McpOutput const ended = session.complete(begun.calls.front().number, answer("1 2 3"));

    EXPECT_EQ(
        writeJson(body(ended)),
        R"({"jsonrpc":"2.0","id":1,"result":{"content":[{"type":"text","text":"1 2 3"}],"isError":false}})");
    EXPECT_EQ(ended.messages.front().exchange, begun.exchange);
    EXPECT_EQ(ended.finished, std::vector{begun.exchange});
    EXPECT_EQ(session.openCalls(), 0U);
}

TEST_F(McpSessionTest, writesPicturesFailuresAndStructure)
{
    McpToolResult const told{.content = {{.text = "iVBO", .mimeType = "image/png"}},
                             .isError = true,
                             .structured = json::object{{"machines", json::array()}}};

    McpOutput const output = session.complete(look().calls.at(0).number, told);

    EXPECT_EQ(writeJson(result(output)),
              R"({"content":[{"type":"image","data":"iVBO","mimeType":"image/png"}],)"
              R"("isError":true,"structuredContent":{"machines":[]}})");
}

TEST_F(McpSessionTest, answersAFaultOfTheGateway)
{
    McpOutput const output =
        session.complete(look().calls.at(0).number, JsonRpcError{.message = "Internal error"});

    EXPECT_EQ(error(output), "-32603 of 1");
}

TEST_F(McpSessionTest, endsACallOnce)
{
    McpCallNumber const call = look().calls.at(0).number;
    session.complete(call, answer("here"));

    McpOutput const again = session.complete(call, answer("there"));

    EXPECT_TRUE(isSilent(again));
    EXPECT_TRUE(again.finished.empty());
}

TEST_F(McpSessionTest, answersCallsInTheOrderInWhichTheyEnd)
{
    McpCallNumber const first = look("1").calls.at(0).number;
    McpCallNumber const second = look("2").calls.at(0).number;

    EXPECT_EQ(body(session.complete(second, answer("b"))).at("id"), 2);
    EXPECT_EQ(body(session.complete(first, answer("a"))).at("id"), 1);
}

TEST_F(McpSessionTest, refusesCallsThatAreMalformed)
{
    EXPECT_EQ(error(receive(request("1", "tools/call"))), "-32602 of 1");
    EXPECT_EQ(error(receive(request("1", "tools/call", R"({"name":1})"))), "-32602 of 1");
    EXPECT_EQ(error(receive(request("1", "tools/call", R"({"name":"Look"})"))), "-32602 of 1");
    EXPECT_EQ(error(receive(request("1", "tools/call", R"({"name":"look","arguments":[]})"))), "-32602 of 1");
    EXPECT_EQ(session.openCalls(), 0U);
}

TEST_F(McpSessionTest, takesNullForNoArguments)
{
    EXPECT_EQ(receive(request("1", "tools/call", R"({"name":"look","arguments":null})")).calls.size(), 1U);
}

TEST_F(McpSessionTest, tellsTheModelWhichArgumentIsWrong)
{
    McpOutput const output =
        receive(request("1", "tools/call", R"({"name":"count","arguments":{"to":"3"}})"));

    EXPECT_TRUE(output.calls.empty());
    EXPECT_EQ(writeJson(result(output)),
              R"({"content":[{"type":"text","text":"invalid_request: \"to\" must be an integer. )"
              R"(Next: correct the arguments and call again."}],"isError":true})");
}

TEST_F(McpSessionTest, boundsTheCallsThatAreOpen)
{
    for (std::size_t i = 0; i < McpSession::maxCalls; ++i)
        ASSERT_EQ(look(std::to_string(i)).calls.size(), 1U);

    McpOutput const refused = look("1000");

    EXPECT_TRUE(refused.calls.empty());
    EXPECT_EQ(session.openCalls(), McpSession::maxCalls);
    std::string const text(result(refused).at("content").at(0).at("text").as_string());
    EXPECT_EQ(text.find("machine_busy: "), 0U);
}

TEST_F(McpSessionTest, takesAnIdAgainOnlyAfterTheAnswer)
{
    McpCallNumber const call = look("1").calls.at(0).number;

    EXPECT_EQ(error(look("1")), "-32600");
    EXPECT_EQ(error(receive(request("1", "ping"))), "-32600");
    EXPECT_EQ(session.openCalls(), 1U);

    session.complete(call, answer("here"));
    EXPECT_EQ(look("1").calls.size(), 1U);
}

TEST_F(McpSessionTest, tellsTextsFromNumbersInIds)
{
    look("1");

    EXPECT_EQ(look("\"1\"").calls.size(), 1U);
    EXPECT_TRUE(isSilent(receive(cancelOf("\"2\""))));
    EXPECT_EQ(session.openCalls(), 2U);
}

TEST_F(McpSessionTest, sendsProgressThatGrows)
{
    McpCallNumber const call =
        receive(request("1", "tools/call", R"({"name":"look","_meta":{"progressToken":7}})"))
            .calls.at(0)
            .number;

    EXPECT_EQ(writeJson(body(session.progress(call, 5, "waits for the person"))),
              R"({"jsonrpc":"2.0","method":"notifications/progress",)"
              R"("params":{"progress":5,"message":"waits for the person","progressToken":7}})");
    EXPECT_TRUE(isSilent(session.progress(call, 5, "")));
    EXPECT_TRUE(isSilent(session.progress(call, 4, "")));
    EXPECT_EQ(body(session.progress(call, 5.5, "")).at("params").at("progress"), 5.5);
    session.complete(call, answer("here"));
    EXPECT_TRUE(isSilent(session.progress(call, 6, "")));
}

TEST_F(McpSessionTest, sendsProgressOnlyToThoseWhoAskForIt)
{
    EXPECT_TRUE(isSilent(session.progress(look("1").calls.at(0).number, 1, "")));
    McpOutput const bad =
        receive(request("2", "tools/call", R"({"name":"look","_meta":{"progressToken":{}}})"));
    EXPECT_FALSE(bad.calls.at(0).wantsProgress);
    EXPECT_TRUE(isSilent(session.progress(bad.calls.at(0).number, 1, "")));
}

TEST_F(McpSessionTest, cancelsACallAndNeverAnswersIt)
{
    McpOutput const begun = look();
    McpCallNumber const call = begun.calls.at(0).number;

    McpOutput const output = receive(cancelOf("1"));

    EXPECT_EQ(output.cancelled, std::vector{call});
    EXPECT_TRUE(output.messages.empty());
    EXPECT_EQ(output.finished, (std::vector{begun.exchange, output.exchange}));
    EXPECT_TRUE(isSilent(session.complete(call, answer("late"))));
    EXPECT_TRUE(isSilent(session.progress(call, 1, "late")));
}

TEST_F(McpSessionTest, ignoresCancellationsOfNothing)
{
    look();

    for (std::string_view const params :
         {"{}", R"({"requestId":null})", R"({"requestId":2})", R"({"requestId":"1"})", "[1]"})
        EXPECT_TRUE(isSilent(receive(notification("notifications/cancelled", params)))) << params;
    EXPECT_EQ(session.openCalls(), 1U);
}

TEST_F(McpSessionTest, cancelsTheCallsOfAnExchangeThatIsAbandoned)
{
    McpOutput const first = look("1");
    look("2");

    McpOutput const output = session.abandon(first.exchange);

    EXPECT_EQ(output.cancelled, std::vector{first.calls.at(0).number});
    EXPECT_EQ(output.finished, std::vector{first.exchange});
    EXPECT_EQ(session.openCalls(), 1U);
    EXPECT_TRUE(isSilent(session.complete(first.calls.at(0).number, answer("late"))));
    EXPECT_TRUE(session.abandon(first.exchange).finished.empty());
}

TEST_F(McpSessionTest, cancelsEverythingAtItsEnd)
{
    McpOutput const first = look("1");
    McpOutput const second = look("2");

    McpOutput const output = session.end();

    EXPECT_EQ(output.cancelled, (std::vector{first.calls.at(0).number, second.calls.at(0).number}));
    EXPECT_EQ(output.finished, (std::vector{first.exchange, second.exchange}));
    EXPECT_TRUE(isSilent(session.complete(first.calls.at(0).number, answer("late"))));
}

TEST_F(McpSessionTest, doesNothingAfterItsEnd)
{
    session.end();

    EXPECT_TRUE(isSilent(receive(request("1", "ping"))));
    EXPECT_TRUE(isSilent(look()));
    EXPECT_TRUE(isSilent(session.end()));
}

} // namespace
} // namespace zelvo::service
