#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"
#include "gateway/support/Recorded.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace zelvo::service {
namespace {

std::string rawAnswer(Gateway& gateway, std::string const& bytes)
{
    RawConnection connection(gateway.port());
    connection.send(bytes);
    return connection.readToEnd(2);
}

std::string statusLine(std::string const& answer)
{
    return answer.substr(0, answer.find('\r'));
}

bool stillServes(Gateway& gateway)
{
    return gateway.platform("GET", "/v1/connections").status == 200;
}

TEST(BadHttp, isAnsweredWith400)
{
    Gateway gateway;

    for (std::string const& bytes :
         {std::string("nonsense\r\n\r\n"), std::string("GET\r\n\r\n"), std::string("GET / HTTP/9.9\r\n\r\n"),
          std::string("GET / HTTP/1.1\r\nno colon\r\n\r\n"),
          std::string("GET http://x/ HTTP/1.1\r\nHost: localhost\r\n\r\n"),
          std::string("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: -1\r\n\r\n"),
          std::string(
              "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 99999999999999999999999\r\n\r\n"),
          std::string("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 5\r\nTransfer-Encoding: "
                      "chunked\r\n\r\n"),
          std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n", 15)})
        EXPECT_EQ(statusLine(rawAnswer(gateway, bytes)), "HTTP/1.1 400 Bad Request") << bytes;
    EXPECT_TRUE(stillServes(gateway));
}

TEST(BadHttp, needsOneHost)
{
    Gateway gateway;

    EXPECT_EQ(statusLine(rawAnswer(gateway, "GET / HTTP/1.1\r\n\r\n")), "HTTP/1.1 403 Forbidden");
    EXPECT_EQ(statusLine(rawAnswer(gateway, "GET / HTTP/1.1\r\nHost: localhost\r\nHost: evil\r\n\r\n")),
              "HTTP/1.1 403 Forbidden");
}

TEST(BadHttp, withAHeadThatIsTooLongIsAnsweredWith431)
{
    Gateway gateway;

    std::string const line = statusLine(rawAnswer(
        gateway, "GET / HTTP/1.1\r\nHost: localhost\r\nX-Long: " + std::string(100'000, 'a') + "\r\n\r\n"));

    EXPECT_TRUE(line.starts_with("HTTP/1.1 431")) << line;
    EXPECT_TRUE(stillServes(gateway));
}

TEST(BadHttp, survivesBytesThatBreakOffAnywhere)
{
    Gateway gateway;
    std::string const whole = "POST /machines/link/resolve HTTP/1.1\r\nHost: localhost\r\nContent-Length: "
                              "14\r\n\r\n{\"token\": \"x\"}";

    for (std::size_t length = 0; length < whole.size(); ++length) {
        RawConnection connection(gateway.port());
        connection.send(whole.substr(0, length));
    }

    EXPECT_EQ(statusLine(rawAnswer(gateway, whole)), "HTTP/1.1 404 Not Found");
}

TEST(BadHttp, withABrokenChunkIsAnsweredWith400)
{
    Gateway gateway;

    std::string const answer =
        rawAnswer(gateway, "POST /machines/link/resolve HTTP/1.1\r\nHost: localhost\r\n"
                           "Transfer-Encoding: chunked\r\n\r\nzz\r\nabc\r\n0\r\n\r\n");

    EXPECT_EQ(statusLine(answer), "HTTP/1.1 400 Bad Request");
}

TEST(BadHttp, withAnEndlessChunkedBodyIsAnsweredWith413)
{
    Gateway gateway;
    RawConnection connection(gateway.port());
    connection.send(
        "POST /machines/link/resolve HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n");

    for (int i = 0; i < 10; ++i)
        connection.send("4000\r\n" + std::string(0x4000, ' ') + "\r\n");

    std::string const line = statusLine(connection.readToEnd(2));
    EXPECT_TRUE(line.starts_with("HTTP/1.1 413")) << line;
}

TEST(BadHttp, knowsItsPathsAndMethods)
{
    Gateway gateway;

    for (std::string const target :
         {"/nothing", "/v1", "/v1/", "/v1/connections/", "/v1/connections/a/b", "//", "/v1//connections",
          "/v1/machines/a/commands", "/V1/connections", "/%00"})
        EXPECT_EQ(gateway.platform("GET", target).errorCode(), "not_found") << target;
    for (auto const& [method, target] : {std::pair("POST", "/"), std::pair("PUT", "/v1/connections"),
                                         std::pair("TRACE", "/"), std::pair("HEAD", "/v1/connections"),
                                         std::pair("OPTIONS", "/v1/connections"), std::pair("BREW", "/")})
        EXPECT_EQ(gateway.platform(method, target).status, 405) << method << target;
}

TEST(BadHttp, servesOneRequestAfterTheOtherOnAConnection)
{
    Gateway gateway;
    RawConnection connection(gateway.port());
    std::string const once = "GET /page/keys.js HTTP/1.1\r\nHost: localhost\r\n\r\n";

    connection.send(once + once + "GET / HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    std::string const all = connection.readToEnd(5);

    std::size_t count = 0;
    for (std::size_t at = all.find("HTTP/1.1 "); at != std::string::npos; at = all.find("HTTP/1.1 ", at + 1))
        ++count;
    EXPECT_EQ(count, 3u);
}

TEST(SlowClient, isLetGoBeforeItsHeadIsWhole)
{
    Gateway gateway([](Settings& settings) { settings.limits.header = std::chrono::milliseconds(200); });
    RawConnection connection(gateway.port());

    connection.send("GET / HTTP/1.1\r\nHost: loc");

    EXPECT_TRUE(connection.closes(5));
}

TEST(SlowClient, isLetGoBeforeItsBodyIsWhole)
{
    Gateway gateway(
        [](Settings& settings) { settings.limits.smallBodyTime = std::chrono::milliseconds(200); });
    RawConnection connection(gateway.port());

    connection.send(
        "POST /machines/link/resolve HTTP/1.1\r\nHost: localhost\r\nContent-Length: 100\r\n\r\n{");

    EXPECT_TRUE(connection.closes(5));
}

TEST(SlowClient, isLetGoBetweenTwoRequests)
{
    Gateway gateway([](Settings& settings) { settings.limits.idle = std::chrono::milliseconds(200); });
    RawConnection connection(gateway.port());

    connection.send("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");

    EXPECT_TRUE(connection.closes(5));
}

TEST(ManyClients, cannotKeepMachinesOut)
{
    Gateway gateway([](Settings& settings) {
        settings.limits.connections = 8;
        settings.limits.header = std::chrono::milliseconds(300);
    });
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    ASSERT_EQ(machine.status(), 101);
    std::vector<std::unique_ptr<RawConnection>> crowd;
    for (int i = 0; i < 50; ++i)
        crowd.push_back(std::make_unique<RawConnection>(gateway.port()));

    machine.heartbeat("box", true);

    EXPECT_TRUE(becomes([&] {
        Answer const answer = gateway.platform("GET", "/v1/machines/" + linked.machineId);
        return answer.status == 200 && answer.json().at("paused").as_bool();
    }));
}

/// Connections that keep their places as long as they can.
class Crowd {
public:
    Crowd(Gateway& gateway, std::string const& bytes, int count)
    {
        for (int i = 0; i < count; ++i) {
            connections.push_back(std::make_unique<RawConnection>(gateway.port()));
            connections.back()->send(bytes);
        }
    }

private:
    std::vector<std::unique_ptr<RawConnection>> connections;
};

constexpr int manySlow = 530; // More than there are places.

TEST(ManyClients, withHalfAHeadLockNobodyOut)
{
    Gateway gateway;
    Crowd const crowd(gateway, "GET / HTTP/1.1\r\nHost: loc", manySlow);

    EXPECT_TRUE(stillServes(gateway));
    EXPECT_EQ(gateway.call("GET", "/").status, 200);
}

TEST(ManyClients, withHalfABodyLockNobodyOut)
{
    Gateway gateway;
    Crowd const crowd(gateway,
                      "POST /machines/link/resolve HTTP/1.1\r\nHost: localhost\r\nContent-Length: 9\r\n\r\n{",
                      manySlow);

    EXPECT_TRUE(stillServes(gateway));
}

TEST(ManyClients, thatReadNothingLockNobodyOut)
{
    Gateway gateway(
        [](Settings& settings) { settings.limits.connections = 16; }); // Each fills megabytes of buffers.
    std::string requests;
    for (int i = 0; i < 500; ++i)
        requests += "GET /page/input.js HTTP/1.1\r\nHost: localhost\r\n\r\n";
    Crowd const crowd(gateway, requests, 20);

    EXPECT_TRUE(stillServes(gateway));
}

TEST(ManyClients, thatRestBetweenRequestsLockNobodyOut)
{
    Gateway gateway;
    Crowd const crowd(gateway, "GET /locked HTTP/1.1\r\nHost: localhost\r\n\r\n", manySlow);

    EXPECT_TRUE(stillServes(gateway));
}

// A machine's token belongs to whoever lends the computer, and is no key to all places.
TEST(ManyClients, withTheTokenOfOneMachineLockNobodyOut)
{
    Gateway gateway;
    std::string const token = gateway.link().token;
    Crowd const crowd(gateway,
                      "POST /machines/recordings HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer " +
                          token + "\r\nContent-Length: 9\r\n\r\n{",
                      manySlow);

    EXPECT_TRUE(stillServes(gateway));
}

TEST(ManyClients, withTheAddressOfOneRecordingLockNobodyOut)
{
    Recorded on([](Settings& settings) { settings.limits.connections = 16; }); // Each fills megabytes.
    std::string const path = on.addressOf(on.recording(std::string(16_MiB, 'f')));
    std::vector<std::unique_ptr<RawConnection>> viewers;
    for (int i = 0; i < 20; ++i) {
        viewers.push_back(std::make_unique<RawConnection>(on.gateway.port()));
        viewers.back()->send("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
        viewers.back()->readSome(); // It is being served.
    }

    EXPECT_TRUE(stillServes(on.gateway));
}

TEST(ManyClients, endNoUpload)
{
    Recorded on([](Settings& settings) { settings.limits.connections = 8; });
    Recorded::Announced const recording = on.announce(4_MiB);
    RawConnection upload(on.gateway.port());
    upload.send(Recorded::headOf(recording.path, 4_MiB) + std::string(3_MiB, 'f'));
    ASSERT_TRUE(becomes([&] { return !on.files().empty(); }));

    Crowd const crowd(on.gateway, "GET / HTTP/1.1\r\nHost: loc", 50);
    EXPECT_TRUE(stillServes(on.gateway));

    upload.send(std::string(1_MiB, 'f'));
    EXPECT_EQ(statusLine(upload.readToEnd()), "HTTP/1.1 200 OK");
}

// A command may take minutes, and a crowd does not end it.
TEST(ManyClients, endNoRequestOfACallerWithTheKey)
{
    Gateway gateway([](Settings& settings) { settings.limits.connections = 8; });
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    std::atomic<bool> isAsked = false;
    machine.onFrame([&](json::object const&) {
        isAsked = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(500)); // The crowd comes meanwhile.
        return resultOf(json::object{{"ok", true}});
    });
    ASSERT_EQ(machine.status(), 101);
    int status = 0;
    std::thread caller([&] { status = gateway.command(linked.connectionId, "display.info").status; });
    ASSERT_TRUE(becomes([&] { return isAsked.load(); }));

    Crowd const crowd(gateway, "GET / HTTP/1.1\r\nHost: loc", 50);

    caller.join();
    EXPECT_EQ(status, 200);
}

TEST(BadWebSocket, doesNotDisturbTheOthers)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();
    std::string const upgrade =
        "GET /machines/connect HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
        "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n"
        "Authorization: Bearer " +
        linked.token + "\r\n\r\n";

    for (std::string const& frame :
         {std::string("\x81\x05hello"),                       // Not masked.
          std::string("\xf1\x80\x00\x00\x00\x00", 6),         // Reserved bits.
          std::string("\x83\x80\x00\x00\x00\x00", 6),         // Reserved opcode.
          std::string("\x89\xfe\x00\xff\x00\x00\x00\x00", 8), // A ping that is too long.
          std::string("\x80\x80\x00\x00\x00\x00", 6),         // A continuation of nothing.
          std::string("\x81\xff\xff\xff\xff\xff\xff\xff\xff\xff\x00\x00\x00\x00", 14)}) { // 2^64 - 1 bytes.
        RawConnection connection(gateway.port());
        connection.send(upgrade);
        EXPECT_TRUE(connection.readSome().starts_with("HTTP/1.1 101"));
        connection.send(frame);
        EXPECT_TRUE(connection.closes(5));
    }
    EXPECT_EQ(statusLine(rawAnswer(
                  gateway, "GET /machines/connect HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\n"
                           "Connection: Upgrade\r\nAuthorization: Bearer " +
                               linked.token + "\r\n\r\n")),
              "HTTP/1.1 400 Bad Request");
    EXPECT_TRUE(stillServes(gateway));
}

TEST(ManyClients, hearWhenToComeAgainWhileEveryPlaceIsTaken)
{
    Gateway gateway([](Settings& settings) { settings.limits.connections = 2; });
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    ASSERT_EQ(machine.status(), 101);
    machine.onFrame([](json::object const&) { return std::nullopt; });
    std::string const body = R"({"method":"display.info"})";
    Crowd const callers(gateway,
                        "POST /v1/connections/" + linked.connectionId +
                            "/commands HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer " +
                            gateway.apiKey() + "\r\nContent-Type: application/json\r\nContent-Length: " +
                            std::to_string(body.size()) + "\r\n\r\n" + body,
                        2);
    ASSERT_TRUE(becomes([&] { return machine.framesOf("display.info").size() == 2; }));

    Answer const refused = gateway.platform("GET", "/v1/connections");

    EXPECT_EQ(refused.status, 503);
    EXPECT_EQ(refused.errorCode(), "rate_limited");
    EXPECT_EQ(refused.headers.at("retry-after"), "5");
    machine.drop(); // Ends the calls.
    EXPECT_TRUE(becomes([&] { return stillServes(gateway); }));
}

} // namespace
} // namespace zelvo::service
