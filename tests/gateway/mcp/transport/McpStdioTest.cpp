#include "gateway/mcp/transport/McpHttpFixture.h"
#include "gateway/mcp/transport/StdioProgram.h"

#include <filesystem>

namespace zelvo::service {
namespace {

using Client = McpHttpClient;

/// `zelvo-gateway mcp` of the built program.
class JoinedProgram : public StdioProgram {
public:
    JoinedProgram(std::vector<std::string> arguments, std::string const& key)
        : StdioProgram(commandLine(std::move(arguments)), key)
    {
    }

private:
    static std::vector<std::string> commandLine(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {ZELVO_GATEWAY_PROGRAM, "mcp"});
        return arguments;
    }
};

/// The built program, joined to a server with tools for tests.
class McpStdioTest : public McpHttpFixture {
protected:
    McpStdioTest() : McpHttpFixture({.rules = {.maxSockets = 2}}) {}

    std::string address() const { return "http://127.0.0.1:" + std::to_string(server.port()); }
    std::unique_ptr<StdioProgram> program(std::vector<std::string> more = {},
                                          std::string const& key = "key-a") const
    {
        more.insert(more.begin(), {"--gateway", address()});
        return std::make_unique<JoinedProgram>(more, key);
    }
    std::unique_ptr<StdioProgram> initialized() const
    {
        auto one = program();
        one->write(Client::handshake() + "\n" + Client::notification("notifications/initialized") + "\n");
        EXPECT_NE(one->readLine().find("2025-11-25"), std::string::npos);
        return one;
    }
    static std::string
    call(std::string const& id, std::string const& tool, std::string const& arguments = "{}")
    {
        return Client::message(id, "tools/call", "{" + Client::callParams(tool, arguments) + "}") + "\n";
    }
};

TEST_F(McpStdioTest, carriesASession)
{
    auto const one = initialized();

    one->write(call("1", "echo", R"({"text":"hello"})"));
    EXPECT_NE(one->readLine().find(R"("text":"hello")"), std::string::npos);
    one->write(call("2", "count") + call("3", "count"));
    EXPECT_NE(one->readLine().find(R"("text":"2")"), std::string::npos);
    EXPECT_NE(one->readLine().find(R"("text":"3")"), std::string::npos);
    one->closeInput();

    EXPECT_EQ(one->readToEnd(), "");
    EXPECT_EQ(one->wait(), 0);
    EXPECT_EQ(one->errors(), "");
}

TEST_F(McpStdioTest, carriesRequestsThatSayTheirVersion)
{
    auto const one = program();

    one->write(Client::modernBody("server/discover") + "\n");

    EXPECT_NE(one->readLine().find("supportedVersions"), std::string::npos);
}

TEST_F(McpStdioTest, answersEverythingBeforeItEnds)
{
    auto const one = initialized();

    one->write(call("1", "hold", R"({"n":5000})") + call("2", "picture", R"({"n":3000000})"));
    one->closeInput();
    ASSERT_TRUE(isHolding());
    EXPECT_GT(one->readLine().size(), 3'000'000U);
    clock.advance(5s);

    EXPECT_NE(one->readLine().find(R"("text":"hold")"), std::string::npos);
    EXPECT_EQ(one->wait(), 0);
}

TEST_F(McpStdioTest, cancelsWhatIsOpenWhenNobodyReadsAnyMore)
{
    auto const one = initialized();
    one->write(call("1", "hold", R"({"n":3600000})"));
    ASSERT_TRUE(isHolding());

    one->closeInput();
    one->closeOutput();

    EXPECT_TRUE(becomes([&] { return host.cancelled == 1; }));
    EXPECT_EQ(one->wait(), 0);
}

TEST_F(McpStdioTest, cancelsWhatIsOpenWhenItIsKilled)
{
    auto one = initialized();
    one->write(call("1", "hold", R"({"n":3600000})"));
    ASSERT_TRUE(isHolding());

    one.reset();

    EXPECT_TRUE(becomes([&] { return host.cancelled == 1; }));
}

TEST_F(McpStdioTest, cancelsACallThatItsClientCancels)
{
    auto const one = initialized();
    one->write(call("1", "hold", R"({"n":3600000})"));
    ASSERT_TRUE(isHolding());

    one->write(Client::notification("notifications/cancelled", R"({"requestId":1})") + "\n");

    EXPECT_TRUE(becomes([&] { return host.cancelled == 1; }));
    one->write(Client::message("2", "ping") + "\n");
    EXPECT_NE(one->readLine().find(R"("id":2)"), std::string::npos);
}

TEST_F(McpStdioTest, answersLinesThatAreNoMessages)
{
    auto const one = initialized();

    one->write("{\n\n\r\n\xff\xfe\n[]\n");
    for (int i = 0; i < 3; ++i)
        EXPECT_NE(one->readLine().find(R"("error")"), std::string::npos);
    one->write(Client::message("1", "ping")); // Without a line end.
    one->closeInput();

    EXPECT_NE(one->readLine().find(R"("id":1)"), std::string::npos);
    EXPECT_EQ(one->wait(), 0);
}

TEST_F(McpStdioTest, refusesALineThatIsTooLong)
{
    auto const one = initialized();

    one->write(std::string(17 << 20, 'a') + "\n" + Client::message("1", "ping") + "\n");

    EXPECT_NE(one->readLine().find("too long"), std::string::npos);
    EXPECT_NE(one->readLine().find(R"("id":1)"), std::string::npos);
}

TEST_F(McpStdioTest, servesOneConnectionWithSwitches)
{
    auto const one = program({"--connection", "con_a", "--switches", "width=800&tools=computer"});
    one->write(Client::modernBody("tools/list") + "\n");
    EXPECT_NE(one->readLine().find(R"("description":"800")"), std::string::npos);

    auto const two = program({"--connection", "con_a"}, "key-b");
    EXPECT_EQ(two->wait(), 1);
    EXPECT_EQ(two->errors(),
              "zelvo-gateway: the gateway has no such connection, or the key does not reach it\n");
    auto const three = program({"--switches", "width=1"});
    EXPECT_EQ(three->wait(), 1);
    EXPECT_NE(three->errors().find("status 400"), std::string::npos);
}

TEST_F(McpStdioTest, endsWithItsConnection)
{
    auto const one = program({"--connection", "con_1"});
    one->write(Client::handshake() + "\n" + call("1", "hold", R"({"n":3600000})"));
    ASSERT_TRUE(isHolding());

    host.isRevoked = true;
    one->write(Client::message("2", "ping") + "\n");

    EXPECT_EQ(one->wait(), 1);
    EXPECT_NE(one->errors().find("the connection does not exist any more"), std::string::npos);
    EXPECT_EQ(host.cancelled, 1);
}

TEST_F(McpStdioTest, saysWhyItCannotJoin)
{
    auto const wrong = program({}, "wrong");
    EXPECT_EQ(wrong->wait(), 1);
    EXPECT_EQ(wrong->errors(), "zelvo-gateway: the gateway refuses this API key\n");

    JoinedProgram absent({"--gateway", "http://127.0.0.1:1"}, "key-a");
    EXPECT_EQ(absent.wait(), 1);
    EXPECT_NE(absent.errors().find("no gateway answers at http://127.0.0.1:1: Connection refused"),
              std::string::npos);

    JoinedProgram noData({"--data", "/nonexistent/zelvo"}, "");
    EXPECT_EQ(noData.wait(), 1);
    EXPECT_NE(noData.errors().find("no gateway is running on /nonexistent/zelvo"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists("/nonexistent"));
}

TEST_F(McpStdioTest, endsWithTheGateway)
{
    auto own = std::make_unique<McpTestServer>(host, McpTestOptions{.clock = &clock});
    JoinedProgram one({"--gateway", "http://127.0.0.1:" + std::to_string(own->port())}, "key-a");
    one.write(Client::handshake() + "\n");
    one.readLine();

    own.reset();

    EXPECT_EQ(one.wait(), 1);
    EXPECT_EQ(one.errors(), "zelvo-gateway: the gateway has gone: the gateway is stopping\n");
}

TEST_F(McpStdioTest, endsWithItsKey)
{
    auto const one = initialized();
    one->write(call("1", "hold", R"({"n":3600000})"));
    ASSERT_TRUE(isHolding());

    server.endKey("key-a");

    EXPECT_EQ(one->wait(), 1);
    EXPECT_NE(one->errors().find("the key is revoked"), std::string::npos);
    EXPECT_EQ(host.cancelled, 1);
}

TEST_F(McpStdioTest, hasABoundForEachKey)
{
    auto const one = initialized();
    auto two = initialized();

    auto const three = program();
    EXPECT_EQ(three->wait(), 1);
    EXPECT_NE(three->errors().find("status 429"), std::string::npos);
    two->closeInput();
    EXPECT_EQ(two->wait(), 0);
    EXPECT_TRUE(becomes([&] {
        auto const again = program();
        again->write(Client::handshake() + "\n");
        return !again->readLine().empty();
    }));
}

} // namespace
} // namespace zelvo::service
