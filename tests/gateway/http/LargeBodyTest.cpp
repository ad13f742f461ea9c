#include "gateway/support/Connected.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

std::string bodyOf(std::size_t bytes)
{
    std::string const front = R"({"method":"files.upload.begin","params":{"data":")";
    std::string const back = "\"}}";
    return front + std::string(bytes - front.size() - back.size(), 'A') + back;
}

TEST(LargeBody, of160MiBGoesToTheMachine)
{
    Connected on;
    std::size_t received = 0;
    on.machine.onFrame([&](json::object const& frame) {
        received = frame.at("params").at("data").as_string().size();
        return resultOf(json::object{{"ok", true}});
    });

    Answer const answer = on.post(bodyOf(160_MiB));

    EXPECT_EQ(answer.status, 200);
    EXPECT_GT(received, 159_MiB);
}

TEST(LargeBody, of160MiBComesFromTheMachine)
{
    Connected on;
    std::string const data(160_MiB, 'B');
    on.machine.onFrame([&](json::object const&) { return resultOf(json::object{{"data", data}}); });

    Answer const answer = on.post(R"({"method": "files.download"})");

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body.size(), data.size() + std::string(R"({"result":{"data":""}})").size());
}

TEST(LargeBody, above160MiBIsRefusedBeforeItIsRead)
{
    Connected on;
    RawConnection connection(on.gateway.port());
    connection.send("POST " + on.path() + " HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer " +
                    on.gateway.apiKey() + "\r\nContent-Length: " + std::to_string(160_MiB + 1) + "\r\n\r\n");

    EXPECT_TRUE(connection.readToEnd(2).starts_with("HTTP/1.1 413"));
    EXPECT_TRUE(on.machine.frames().empty());
}

TEST(LargeBody, above160MiBLetsTheSenderReadTheRefusal)
{
    Connected on;

    Answer const answer = on.post(bodyOf(165_MiB));

    EXPECT_EQ(answer.status, 413);
    EXPECT_EQ(answer.errorCode(), "invalid_request");
}

TEST(LargeBody, ofAStrangerIsNotRead)
{
    Connected on;

    EXPECT_EQ(on.gateway.call("POST", on.path(), bodyOf(20_MiB)).status, 401);
}

TEST(LargeBody, waitsForAWordWhenItAsksForOne)
{
    Connected on;
    RawConnection connection(on.gateway.port());
    std::string const body = R"({"method": "x"})";
    connection.send("POST " + on.path() +
                    " HTTP/1.1\r\nHost: localhost\r\nExpect: 100-continue\r\nConnection: close\r\n"
                    "Authorization: Bearer " +
                    on.gateway.apiKey() + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n");

    EXPECT_TRUE(connection.readToEnd(1).starts_with("HTTP/1.1 100 Continue"));
    connection.send(body);

    EXPECT_TRUE(connection.readToEnd(5).starts_with("HTTP/1.1 200 OK"));
}

TEST(LargeBody, isRefusedWhenMemoryIsShort)
{
    Connected on([](Settings& settings) { settings.limits.memory = 20_MiB; }); // Body and values.

    Answer const answer = on.post(bodyOf(11_MiB));

    EXPECT_EQ(answer.status, 429);
    EXPECT_EQ(on.post(bodyOf(9_MiB)).status, 200);
    EXPECT_EQ(on.post(bodyOf(9_MiB)).status, 200);
}

TEST(LargeBody, ofAMachineEndsItsSessionWhenMemoryIsShort)
{
    Connected on([](Settings& settings) { settings.limits.memory = 10_MiB; });
    on.machine.onFrame([](json::object const&) { return resultOf(json::string(11_MiB, 'x')); });

    EXPECT_EQ(on.gateway.command(on.linked.connectionId, "files.download").errorCode(), "machine_offline");
    EXPECT_EQ(on.machine.closeCode(), 1013);
}

TEST(LargeBody, doesNotHoldUpOtherMachines)
{
    Connected on;
    LinkedMachine const other = on.gateway.link();
    FakeMachine second(on.thread, on.gateway.port(), other.token);
    ASSERT_EQ(second.status(), 101);
    std::string const data(100_MiB, 'B');
    on.machine.onFrame([&](json::object const&) { return resultOf(json::object{{"data", data}}); });
    std::thread large(
        [&] { EXPECT_EQ(on.gateway.command(on.linked.connectionId, "files.download").status, 200); });

    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(on.gateway.command(other.connectionId, "display.info").status, 200);

    large.join();
}

} // namespace
} // namespace zelvo::service
