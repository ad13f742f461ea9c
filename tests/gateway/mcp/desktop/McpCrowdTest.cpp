#include "gateway/mcp/desktop/SeenDesktop.h"
#include "gateway/mcp/transport/McpSocketClient.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <set>

namespace zelvo::service {
namespace {

using Client = McpHttpClient;

constexpr int crowd = 1'000;
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr std::size_t maxGrowth = 4096_MiB; // The sanitizers keep what was freed.
#else
constexpr std::size_t maxGrowth = 64_MiB; // Of the gateway and of a thousand clients together.
#endif

std::size_t usedMemory()
{
    std::ifstream stream("/proc/self/statm");
    std::size_t all = 0;
    std::size_t resident = 0;
    stream >> all >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

/// A thousand calls of one key at one time for one machine, which answers none of them before release().
class McpCrowd : public testing::Test {
protected:
    McpCrowd()
    {
        rlimit files{};
        ::getrlimit(RLIMIT_NOFILE, &files);
        files.rlim_cur = files.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &files);
        EXPECT_EQ(desktop.machine.status(), 101);
        EXPECT_TRUE(becomes([&] { return isServed(client()); }));
        desktop.hold();
    }

    McpHttpClient client() const { return McpHttpClient(gateway.port(), gateway.apiKey()); }
    static bool isServed(McpHttpClient const& client)
    {
        return toolText(client.call("desktop_see")).find("button \"Save\"") != std::string::npos;
    }
    std::string newKey()
    {
        Headers const page{gateway.consoleSession(), {"Origin", gateway.origin()}};
        Answer const made = gateway.call(
            "POST", "/console/keys", R"({"name":"B","connections":[")" + linked.connectionId + "\"]}", page);
        return std::string(made.json().at("text").as_string());
    }
    /// Another key has its turn, and nothing has grown.
    void expectOthersAreServed(std::size_t memoryBefore)
    {
        ASSERT_TRUE(becomes([&] { return desktop.holding() == 4; })) << desktop.holding();
        EXPECT_TRUE(isServed(McpHttpClient(gateway.port(), otherKey)));
        EXPECT_EQ(desktop.holding(), 4U);
        EXPECT_LT(usedMemory(), memoryBefore + maxGrowth);
    }
    void expectOneMoreIsServed()
    {
        EXPECT_TRUE(becomes([&] { return isServed(client()); }));
    }
    static std::string kindOf(std::string const& answer)
    {
        for (std::string const kind :
             {"button \\\"Save\\\"", "machine_busy: Too many of your calls wait for this computer",
              "machine_busy: 32 calls of this client are open", "HTTP/1.1 429", "HTTP/1.1 503"})
            if (answer.find(kind) != std::string::npos)
                return kind;
        return "no answer that a client understands: " + answer.substr(0, 300);
    }

    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    SeenDesktop desktop{thread, gateway, linked};
    std::string const otherKey = newKey();
    std::map<std::string, int> answers; ///< how many of each kind
};

TEST_F(McpCrowd, overHttpGetsAnAnswerEach)
{
    std::size_t const before = usedMemory();
    std::string const body = Client::modernBody("tools/call", Client::callParams("desktop_see"));
    std::string bytes = client().bytes("POST", body, Client::modernHeaders("tools/call", "desktop_see"));
    bytes.insert(bytes.find("\r\n") + 2, "Connection: close\r\n");
    std::vector<std::unique_ptr<RawConnection>> callers;
    for (int i = 0; i < crowd; ++i) {
        callers.push_back(std::make_unique<RawConnection>(gateway.port()));
        callers.back()->send(bytes);
    }

    expectOthersAreServed(before);
    desktop.release();
    for (auto const& caller : callers)
        ++answers[kindOf(caller->readToEnd())];

    EXPECT_EQ(answers["button \\\"Save\\\""], 4 + 32);
    for (auto const& [kind, count] : answers)
        EXPECT_FALSE(kind.starts_with("no answer")) << count << " times " << kind;
    expectOneMoreIsServed();
    EXPECT_LT(usedMemory(), before + maxGrowth);
}

TEST_F(McpCrowd, overOneWebSocketGetsAnAnswerEach)
{
    std::size_t const before = usedMemory();
    McpSocketClient socket(gateway.port(), gateway.apiKey());
    socket.write(Client::handshake());
    ASSERT_FALSE(socket.read().empty());
    for (int id = 1; id <= crowd; ++id)
        ASSERT_TRUE(socket.write(Client::message(std::to_string(id), "tools/call",
                                                 "{" + Client::callParams("desktop_see") + "}")));

    expectOthersAreServed(before);
    std::set<std::int64_t> ids;
    auto const read = [&](int count) {
        for (int i = 0; i < count; ++i) {
            std::string const answer = socket.read();
            ++answers[kindOf(answer)];
            if (auto const message = parseJson(answer))
                ids.insert(message->at("id").as_int64());
        }
    };
    read(crowd - 32); // The rest waits for the machine.
    desktop.release();
    read(32);

    EXPECT_EQ(ids.size(), static_cast<std::size_t>(crowd));
    EXPECT_EQ(answers["button \\\"Save\\\""], 32);
    EXPECT_EQ(answers["machine_busy: 32 calls of this client are open"], crowd - 32);
    expectOneMoreIsServed();
    EXPECT_LT(usedMemory(), before + maxGrowth);
}

} // namespace
} // namespace zelvo::service
