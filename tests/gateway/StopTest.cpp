#include "gateway/mcp/transport/McpHttpClient.h"
#include "gateway/mcp/transport/McpSocketClient.h"
#include "gateway/support/Connected.h"
#include "gateway/support/Queued.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <thread>

namespace zelvo::service {
namespace {

/// Waits until nothing listens any more.
bool hasStoppedListening(std::uint16_t port)
{
    return becomes([port] {
        try {
            RawConnection const probe(port);
            return false;
        } catch (std::runtime_error const&) {
            return true;
        }
    });
}

/// Sends bytes and returns what arrives up to a text; empty if that does not arrive.
std::string answered(RawConnection const& connection, std::string const& bytes, std::string const& until)
{
    connection.send(bytes);
    std::string all;
    while (all.find(until) == std::string::npos) {
        std::string const piece = connection.readSome();
        if (piece.empty())
            return {};
        all += piece;
    }
    return all;
}

/// A gateway whose machine answers commands only when the test says so.
class Stop : public testing::Test {
protected:
    Stop()
    {
        on.machine.onFrame([this](json::object const& frame) -> std::optional<json::object> {
            std::scoped_lock guard(lock);
            ids.emplace_back(frame.at("id").as_string());
            return std::nullopt;
        });
    }
    ~Stop() override
    {
        on.gateway.stopNow();
        if (caller.joinable())
            caller.join();
    }

    /// Sends a command, and waits until the machine has it.
    void beginCommand()
    {
        caller = std::thread([this] { answer = on.post(R"({"method":"display.info"})"); });
        EXPECT_TRUE(becomes([this] { return !lastId().empty(); }));
    }
    std::string lastId()
    {
        std::scoped_lock guard(lock);
        return ids.empty() ? "" : ids.back();
    }
    void endCommand() { on.machine.sendText(writeJson(json::object{{"id", lastId()}, {"result", 7}})); }
    bool hasBegunToStop() const { return hasStoppedListening(on.gateway.port()); }
    std::string headOf(std::string const& method, std::string const& target) const
    {
        return method + " " + target + " HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer " +
               on.gateway.apiKey() + "\r\n";
    }

    Connected on;
    std::mutex lock;
    std::vector<std::string> ids; // lock
    Answer answer;
    std::thread caller;
};

TEST_F(Stop, waitsForTheAnswerOfACommand)
{
    beginCommand();
    on.gateway.running().stop();
    ASSERT_TRUE(hasBegunToStop());

    endCommand();

    caller.join();
    EXPECT_EQ(answer.status, 200) << answer.body;
    EXPECT_EQ(answer.headers["connection"], "close");
    on.gateway.stop();
    EXPECT_EQ(on.machine.closeCode(), 1012);
}

// Another user's server may take the port as soon as it is free.
TEST_F(Stop, withdrawsItsAddressBeforeItsPortIsFree)
{
    beginCommand();
    EXPECT_TRUE(std::filesystem::exists(on.gateway.data() / "local-address"));
    on.gateway.running().stop();
    ASSERT_TRUE(hasBegunToStop());

    EXPECT_FALSE(std::filesystem::exists(on.gateway.data() / "local-address"));
    EXPECT_FALSE(std::filesystem::exists(on.gateway.data() / "address"));
}

TEST_F(Stop, refusesNewRequestsOnConnectionsThatStay)
{
    RawConnection kept(on.gateway.port());
    ASSERT_NE(answered(kept, "GET /healthz HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n", "ok\n"), "");
    beginCommand();
    on.gateway.running().stop();
    ASSERT_TRUE(hasBegunToStop());

    kept.send("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");

    std::string const refusal = kept.readToEnd();
    EXPECT_NE(refusal.find("503 "), std::string::npos) << refusal;
    EXPECT_NE(refusal.find("Retry-After: 5\r\n"), std::string::npos) << refusal;
    EXPECT_NE(refusal.find("Connection: close\r\n"), std::string::npos) << refusal;
    EXPECT_EQ(on.machine.frames().size(), 1u);
    endCommand();
    caller.join();
    EXPECT_EQ(answer.status, 200);
}

TEST_F(Stop, answersOnConnectionsThatStayWhetherItRuns)
{
    std::string const head = " HTTP/1.1\r\nHost: localhost\r\n\r\n";
    RawConnection alive(on.gateway.port());
    RawConnection ready(on.gateway.port());
    ASSERT_NE(answered(alive, "GET /healthz" + head, "ok\n"), "");
    ASSERT_NE(answered(ready, "GET /readyz" + head, "ok\n"), "");
    beginCommand();
    on.gateway.running().stop();
    ASSERT_TRUE(hasBegunToStop());

    alive.send("GET /healthz" + head);
    ready.send("GET /readyz" + head);

    EXPECT_NE(alive.readToEnd().find("200 OK"), std::string::npos);
    std::string const refusal = ready.readToEnd();
    EXPECT_NE(refusal.find("503 "), std::string::npos) << refusal;
    EXPECT_NE(refusal.find("Retry-After: 5\r\n"), std::string::npos) << refusal;
    EXPECT_TRUE(refusal.ends_with("not ready\n")) << refusal;
    endCommand();
}

TEST_F(Stop, isNotHeldUpByCallersWithoutAKeyWhoSendSlowly)
{
    std::string const head = " HTTP/1.1\r\nHost: localhost\r\nExpect: 100-continue\r\n"
                             "Transfer-Encoding: chunked\r\n\r\n";
    RawConnection const slow(on.gateway.port());
    ASSERT_NE(answered(slow, "GET /healthz" + head, "100 Continue\r\n\r\n"), "");
    slow.send("1\r\na\r\n");
    RawConnection const refused(on.gateway.port());
    ASSERT_NE(answered(refused, "POST /v1/cloud-machines" + head, "401 "), "");

    on.gateway.running().stop();

    EXPECT_EQ(on.machine.closeCode(), 1012); // The clock stands still: the stop has not reached its limit.
}

TEST_F(Stop, refusesWhatAnybodyMaySendButHasNotSentWhole)
{
    RawConnection slow(on.gateway.port());
    ASSERT_NE(answered(slow,
                       "GET /locked HTTP/1.1\r\nHost: localhost\r\nExpect: 100-continue\r\n"
                       "Content-Length: 2\r\n\r\n",
                       "100 Continue\r\n\r\n"),
              "");
    beginCommand();
    on.gateway.running().stop();
    ASSERT_TRUE(hasBegunToStop());

    slow.send("{}");

    EXPECT_NE(slow.readToEnd().find("503 "), std::string::npos);
    endCommand();
}

TEST_F(Stop, waitsForABodyOfACallerWithAKey)
{
    RawConnection slow(on.gateway.port());
    ASSERT_NE(
        answered(slow,
                 headOf("POST", "/v1/cloud-machines") + "Expect: 100-continue\r\nContent-Length: 2\r\n\r\n",
                 "100 Continue\r\n\r\n"),
        "");
    on.gateway.running().stop();
    ASSERT_TRUE(hasBegunToStop());

    slow.send("{}");

    std::string const answer = slow.readToEnd();
    EXPECT_NE(answer.find("HTTP/1.1 20"), std::string::npos) << answer;
}

TEST_F(Stop, endsACommandThatTakesTooLong)
{
    beginCommand();
    on.gateway.running().stop();
    ASSERT_TRUE(hasBegunToStop());

    on.gateway.clock.advance(26s);

    caller.join();
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.errorCode(), "machine_offline");
    on.gateway.stop();
    EXPECT_EQ(on.machine.closeCode(), 1012);
}

TEST_F(Stop, waitsForNothingTheSecondTime)
{
    beginCommand();
    on.gateway.running().stop();
    ASSERT_TRUE(hasBegunToStop());

    on.gateway.running().stopNow();

    on.gateway.stop();
    caller.join();
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(on.machine.closeCode(), 1012);
}

TEST_F(Stop, isNotHeldUpByConnectionsThatAskForNothing)
{
    RawConnection const idle(on.gateway.port());
    RawConnection const half(on.gateway.port());
    half.send("GET / HTTP/1.1\r\nHost");
    ASSERT_EQ(on.gateway.call("GET", "/").status, 200);

    on.gateway.stop();

    EXPECT_EQ(on.machine.closeCode(), 1012);
}

TEST_F(Stop, endsTheSocketsAndStreamsOfMcpWithoutAnError)
{
    McpSocketClient socket(on.gateway.port(), on.gateway.apiKey());
    socket.write(McpHttpClient::handshake());
    ASSERT_NE(socket.read().find("2025-11-25"), std::string::npos);
    Answer const begun = on.gateway.platform(
        "POST", "/mcp", McpHttpClient::handshake(),
        {{"Content-Type", "application/json"}, {"Accept", "application/json, text/event-stream"}});
    ASSERT_EQ(begun.status, 200) << begun.body;
    RawConnection stream(on.gateway.port());
    stream.send(headOf("GET", "/mcp") + "Accept: text/event-stream\r\nMcp-Session-Id: " +
                begun.headers.at("mcp-session-id") + "\r\n\r\n");
    std::string const head = stream.readSome();
    ASSERT_NE(head.find("200 OK"), std::string::npos) << head;

    on.gateway.running().stop();

    EXPECT_TRUE(stream.readToEnd().ends_with("0\r\n\r\n"));
    socket.read();
    EXPECT_EQ(socket.closeCode(), 1012);
}

TEST(StopWithAQueue, leavesCommandsQueuedForTheNextStart)
{
    Queued on;
    std::string const first = on.queue("first");
    std::string const second = on.queue("second");
    FakeMachine& machine = on.arrive();
    std::atomic<bool> hasFirst = false;
    std::string firstFrame;
    machine.onFrame([&](json::object const& frame) -> std::optional<json::object> {
        if (frame.at("method").as_string() != "first")
            return answerOk(frame);
        firstFrame = std::string(frame.at("id").as_string());
        hasFirst = true;
        return std::nullopt;
    });
    ASSERT_TRUE(on.offered(1));
    on.answer({first, second}, {});
    ASSERT_TRUE(becomes([&] { return hasFirst.load(); }));

    on.gateway.running().stop();
    ASSERT_TRUE(hasStoppedListening(on.gateway.port()));
    machine.sendText(writeJson(json::object{{"id", firstFrame}, {"result", 7}}));
    on.gateway.stop();

    EXPECT_EQ(on.reached(), std::vector<std::string>{"first"});
    on.gateway.start();
    EXPECT_EQ(on.status(first), "completed");
    EXPECT_EQ(on.status(second), "queued");
    on.arrive();
    ASSERT_TRUE(on.offered(1));
    on.answer({second}, {});
    EXPECT_TRUE(on.becomesStatus(second, "completed"));
}

// Whatever reached the machine was answered to its caller, and whatever was refused never reached it.
TEST(StopUnderLoad, losesNoAnswer)
{
    constexpr int callers = 16;
    Connected on;
    std::atomic<bool> isOver = false;
    std::atomic<std::size_t> answered = 0;
    std::atomic<std::size_t> lost = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < callers; ++i)
        threads.emplace_back([&] {
            while (!isOver) {
                try {
                    Answer const answer = on.post(R"({"method":"display.info"})");
                    answered += answer.status == 200;
                    lost += answer.status != 200 && answer.status != 503 && answer.status != 0;
                } catch (std::runtime_error const&) { // Nothing listens any more.
                }
            }
        });
    EXPECT_TRUE(becomes([&] { return answered > 200; }));

    on.gateway.running().stop();
    EXPECT_EQ(on.machine.closeCode(), 1012);
    isOver = true;
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(on.machine.frames().size(), answered);
    EXPECT_EQ(lost, 0u);
}

} // namespace
} // namespace zelvo::service
