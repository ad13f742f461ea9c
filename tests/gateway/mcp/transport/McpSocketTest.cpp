#include "gateway/mcp/transport/McpHttpFixture.h"
#include "gateway/mcp/transport/McpSocketClient.h"

namespace zelvo::service {
namespace {

using Client = McpHttpClient;

class McpSocketTest : public McpHttpFixture {
protected:
    static constexpr std::size_t textBytes = 8'000;

    static std::string echo(std::size_t id)
    {
        std::string const arguments = R"({"text":")" + std::string(textBytes, 'a') + R"("})";
        return Client::message(std::to_string(id), "tools/call",
                               "{" + Client::callParams("echo", arguments) + "}");
    }
    static std::string endOf(std::size_t id) { return R"("id":)" + std::to_string(id) + ","; }
};

TEST_F(McpSocketTest, readsNoFurtherWhileItsClientDoesNotRead)
{
    constexpr std::size_t all = 8'000; // 64 MB of answers, far more than the buffers of the system hold.
    McpSocketClient one(server.port(), "key-a");
    one.write(Client::handshake());
    ASSERT_NE(one.read().find("2025-11-25"), std::string::npos);

    std::size_t sent = 0;
    while (sent < all && one.write(echo(sent + 1), 1s))
        ++sent;

    ASSERT_LT(sent, all);
    EXPECT_EQ(McpHttpClient(server.port(), "key-a").call("echo").status, 200); // Others are served.
    for (std::size_t id = 1; id <= sent; ++id)
        ASSERT_NE(one.read().find(endOf(id)), std::string::npos) << id;
    EXPECT_TRUE(one.resumeWriting());
    EXPECT_NE(one.read().find(endOf(sent + 1)), std::string::npos);
}

TEST_F(McpSocketTest, endsWithItsKeyWhileItsClientDoesNotRead)
{
    McpSocketClient one(server.port(), "key-a");
    one.write(Client::handshake());
    one.read();
    std::size_t sent = 0;
    while (sent < 8'000 && one.write(echo(sent + 1), 1s))
        ++sent;
    ASSERT_LT(sent, 8'000U);

    server.endKey("key-a");

    for (std::size_t id = 1; id <= sent && !one.hasEnded; ++id)
        one.read();
    EXPECT_TRUE(one.hasEnded);
}

TEST_F(McpSocketTest, answersWhatIsOpenAndTakesNothingElseBeforeAStop)
{
    McpSocketClient one(server.port(), "key-a");
    one.write(Client::handshake());
    ASSERT_NE(one.read().find("2025-11-25"), std::string::npos);
    one.write(holdBody("1"));
    ASSERT_TRUE(isHolding());

    server.closeWork();
    one.write(echo(2));
    EXPECT_FALSE(server.isWorkDone());
    endHolding();

    EXPECT_NE(one.read().find(endOf(1)), std::string::npos);
    EXPECT_TRUE(becomes([&] { return server.isWorkDone(); }));
}

TEST_F(McpSocketTest, holdsUpNoStopWhileItIsIdle)
{
    McpSocketClient one(server.port(), "key-a");
    one.write(Client::handshake());
    ASSERT_NE(one.read().find("2025-11-25"), std::string::npos);

    server.closeWork();

    EXPECT_TRUE(becomes([&] { return server.isWorkDone(); }));
}

} // namespace
} // namespace zelvo::service
