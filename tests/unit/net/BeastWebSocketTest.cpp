#include "unit/net/SocketTest.h"

#include <boost/asio/thread_pool.hpp>
#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace zelvo {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class BeastWebSocketTest : public SocketTest {};

TEST_F(BeastWebSocketTest, sendsItsHeadersWithTheUpgrade)
{
    WebSocketRequest request;
    request.url = server.url() + "?a=b";
    request.headers = {{"Authorization", "Bearer secret"}, {"X-Zelvo-App-Version", "1.2.3"}};

    auto client = open(request);
    auto peer = wait(server.acceptUpgraded());

    EXPECT_THAT(peer->requestHead, HasSubstr("GET /machines/connect?a=b HTTP/1.1\r\n"));
    EXPECT_THAT(peer->requestHead, HasSubstr("Authorization: Bearer secret\r\n"));
    EXPECT_THAT(peer->requestHead, HasSubstr("X-Zelvo-App-Version: 1.2.3\r\n"));
    EXPECT_THAT(peer->requestHead, HasSubstr("Host: 127.0.0.1:" + std::to_string(server.port()) + "\r\n"));
    EXPECT_THAT(peer->requestHead, Not(HasSubstr("Sec-WebSocket-Protocol")));
    EXPECT_THAT(peer->requestHead, Not(HasSubstr("Sec-WebSocket-Extensions")));
}

TEST_F(BeastWebSocketTest, refusesAHeaderWithALineBreakAndKeepsItToItself)
{
    WebSocketRequest request;
    request.url = server.url();
    request.headers = {{"Authorization", "Bearer secret\r\nX-Other: 1"}};

    auto const failure = failureOfTask(open(request)->receive());

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, NetworkFailure::Kind::other);
    EXPECT_THAT(failure->description, Not(HasSubstr("secret")));
}

TEST_F(BeastWebSocketTest, holdsEarlyMessagesUntilTheHandshakeAndKeepsTheirOrder)
{
    auto client = openTo(server);
    int sent = 0;
    auto sendAll = [&]() -> Task<> {
        for (int i = 0; i < 3; ++i) {
            co_await client->send("early " + std::to_string(i));
            ++sent;
        }
    };
    asio::co_spawn(io, sendAll(), asio::detached);
    auto peer = wait(server.accept());
    runFor(20ms);
    EXPECT_EQ(sent, 0);

    wait(peer->upgrade());

    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(wait(peer->read())->payload, "early " + std::to_string(i));
    until([&] { return sent == 3; });
}

TEST_F(BeastWebSocketTest, keepsTheOrderOfSendsThatDoNotWaitForEachOther)
{
    auto const [client, peer] = link();

    for (int i = 0; i < 100; ++i)
        asio::co_spawn(io, client->send(std::string(i % 7 == 0 ? 100'000 : 10, 'a') + std::to_string(i)),
                       asio::detached);

    for (int i = 0; i < 100; ++i) {
        auto const message = wait(peer->read());
        ASSERT_TRUE(message);
        EXPECT_TRUE(message->payload.ends_with("a" + std::to_string(i))) << i;
        EXPECT_EQ(message->kind, WebSocketMessage::Kind::text);
    }
}

TEST_F(BeastWebSocketTest, receivesTextAndBinaryInOrder)
{
    auto const [client, peer] = link();

    wait(peer->write(textMessage("first")));
    wait(peer->write({WebSocketMessage::Kind::binary, std::string("\0\xff", 2)}));
    wait(peer->write(textMessage("")));

    auto const first = wait(client->receive());
    auto const second = wait(client->receive());
    auto const third = wait(client->receive());
    EXPECT_EQ(first.kind, WebSocketMessage::Kind::text);
    EXPECT_EQ(first.payload, "first");
    EXPECT_EQ(second.kind, WebSocketMessage::Kind::binary);
    EXPECT_EQ(second.payload, std::string("\0\xff", 2));
    EXPECT_EQ(third.payload, "");
}

TEST_F(BeastWebSocketTest, takesMessagesThatCameWithTheAnswerToTheUpgrade)
{
    auto client = openTo(server);
    auto peer = wait(server.accept());
    auto both = [&]() -> Task<> {
        co_await peer->upgrade();
        co_await peer->write(textMessage("at once"));
        co_await peer->write(textMessage(std::string(5000, 'x')));
    };
    asio::co_spawn(io, both(), asio::detached);

    EXPECT_EQ(wait(client->receive()).payload, "at once");
    EXPECT_EQ(wait(client->receive()).payload, std::string(5000, 'x'));
}

TEST_F(BeastWebSocketTest, putsFragmentsTogetherEvenWhereOneSplitsACharacter)
{
    auto const [client, peer] = link();

    wait(peer->writeFragments({"sm\xf0\x9f", "\x98", "", "\x80ile", std::string(40'000, 'z')}));

    EXPECT_EQ(wait(client->receive()).payload, "sm\xf0\x9f\x98\x80ile" + std::string(40'000, 'z'));
}

TEST_F(BeastWebSocketTest, answersPingsWhileNobodyReceives)
{
    auto const [client, peer] = link();
    auto reading = peer->read();
    asio::co_spawn(io, std::move(reading), asio::detached);

    wait(peer->write(textMessage("a command that takes its time")));
    for (int i = 0; i < 20; ++i)
        wait(peer->ping("server " + std::to_string(i)));
    until([&] { return peer->pongs.size() == 20; });

    EXPECT_EQ(peer->pongs.front(), "server 0");
    EXPECT_EQ(peer->pongs.back(), "server 19");
    EXPECT_EQ(wait(client->receive()).payload, "a command that takes its time");
}

TEST_F(BeastWebSocketTest, reportsPongsInTheOrderOfThePingsWhileNobodyReceives)
{
    auto const [client, peer] = link();
    asio::co_spawn(io, peer->read(), asio::detached);
    std::vector<std::string> told;

    for (int i = 0; i < 3; ++i)
        client->sendPing([&told, i](bool ok) { told.push_back(std::to_string(i) + (ok ? " yes" : " no")); });
    until([&] { return told.size() == 3; });

    EXPECT_THAT(told, ElementsAre("0 yes", "1 yes", "2 yes"));
    EXPECT_EQ(peer->pings.size(), 3U);
    EXPECT_FALSE(client->readingWasHeld());
}

TEST_F(BeastWebSocketTest, sendsAnEarlyPingAfterTheHandshake)
{
    auto client = openTo(server);
    std::optional<bool> told;
    client->sendPing([&told](bool ok) { told = ok; });

    auto peer = wait(server.acceptUpgraded());
    asio::co_spawn(io, peer->read(), asio::detached);
    until([&] { return told.has_value(); });

    EXPECT_TRUE(*told);
}

TEST_F(BeastWebSocketTest, reportsAPingWithoutPongOnceWhenTheSocketEnds)
{
    auto const [client, peer] = link();
    int calls = 0;
    bool last = true;
    client->sendPing([&](bool ok) {
        ++calls;
        last = ok;
    });
    runFor(20ms);
    EXPECT_EQ(calls, 0); // The peer does not read, so there is no pong.

    client->cancel();
    until([&] { return calls > 0; });
    runFor(5ms);

    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(last);
    client->sendPing([&](bool ok) { last = !ok; });
    until([&] { return last; });
}

TEST_F(BeastWebSocketTest, letsPingsThroughInTheMiddleOfALargeMessage)
{
    auto const [client, peer] = link();
    bool sent = false;
    auto sendLarge = [&]() -> Task<> {
        co_await client->send(std::string(std::size_t{32} << 20, 'a'));
        sent = true;
    };
    asio::co_spawn(io, sendLarge(), asio::detached);
    client->sendPing([](bool) {});
    runFor(20ms); // The system's buffers are full now, because the peer does not read.
    EXPECT_FALSE(sent);

    bool pingBeforeEnd = false;
    auto read = [&]() -> Task<> {
        auto const message = co_await peer->read();
        pingBeforeEnd = !peer->pings.empty();
        EXPECT_EQ(message->payload.size(), std::size_t{32} << 20);
    };
    wait(read());

    EXPECT_TRUE(pingBeforeEnd);
}

TEST_F(BeastWebSocketTest, mayBeCalledFromAnyThread)
{
    asio::thread_pool agent(1);
    asio::thread_pool workers(1);
    asio::thread_pool callers(4);
    BeastWebSocketOpener threaded({callers.get_executor(), agent.get_executor(), workers.get_executor()});
    WebSocketRequest request;
    request.url = server.url();
    auto client = threaded.open(request);
    auto peer = wait(server.acceptUpgraded());
    std::atomic<int> sent = 0;
    std::atomic<int> received = 0;
    std::atomic<int> pongs = 0;

    auto echo = [&]() -> Task<> {
        while (auto message = co_await peer->read())
            co_await peer->write(*std::move(message));
    };
    asio::co_spawn(io, echo(), asio::detached);
    auto sender = [&]() -> Task<> {
        for (int i = 0; i < 50; ++i) {
            co_await client->send("hello");
            client->sendPing([&](bool ok) { pongs += ok ? 1 : 0; });
            ++sent;
        }
    };
    auto receiver = [&]() -> Task<> {
        for (int i = 0; i < 200; ++i) {
            co_await client->receive();
            ++received;
        }
    };
    for (int i = 0; i < 4; ++i)
        asio::co_spawn(callers, sender(), asio::detached);
    asio::co_spawn(callers, receiver(), asio::detached);
    until([&] { return received == 200 && pongs == 200; });

    EXPECT_EQ(sent, 200);
    client->cancel();
    client.reset();
    callers.join();
    agent.join();
    workers.join();
}

} // namespace

} // namespace zelvo
