#include "unit/net/SocketTest.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/system/system_error.hpp>
#include <gmock/gmock.h>

namespace zelvo {

namespace {

using Kind = NetworkFailure::Kind;
using testing::HasSubstr;

class BeastWebSocketEndTest : public SocketTest {
protected:
    /// The failure of a socket whose upgrade request gets these bytes as the answer.
    std::optional<NetworkFailure> failureAfter(std::string answer)
    {
        client = openTo(server);
        auto peer = wait(server.accept());
        wait(peer->answer(std::move(answer)));
        return failureOfTask(client->receive()); // While the peer keeps its end open.
    }

    std::shared_ptr<WebSocket> client;
};

TEST_F(BeastWebSocketEndTest, reportsTheStatusOfARefusedUpgrade)
{
    for (int const status : {200, 400, 401, 403, 426, 500, 503}) {
        auto const failure = failureAfter("HTTP/1.1 " + std::to_string(status) +
                                          " Some reason\r\nContent-Length: 2\r\n\r\nno");

        ASSERT_TRUE(failure) << status;
        EXPECT_EQ(client->httpStatus(), status);
        EXPECT_EQ(failure->kind, Kind::other);
        EXPECT_EQ(client->closeCode(), std::nullopt);
    }
}

TEST_F(BeastWebSocketEndTest, doesNotFollowRedirects)
{
    TestServer other(io.get_executor());

    auto const failure = failureAfter("HTTP/1.1 302 Found\r\nLocation: " + other.url() + "\r\n\r\n");

    EXPECT_TRUE(failure);
    EXPECT_EQ(client->httpStatus(), 302);
}

TEST_F(BeastWebSocketEndTest, doesNotWaitForTheBodyOfARefusal)
{
    auto const failure = failureAfter("HTTP/1.1 401 Unauthorized\r\nContent-Length: 9999999999\r\n\r\nbegin");

    EXPECT_TRUE(failure);
    EXPECT_EQ(client->httpStatus(), 401);
}

TEST_F(BeastWebSocketEndTest, takesAHeadOfSeveralKilobytesButNotAnEndlessOne)
{
    auto const long401 =
        failureAfter("HTTP/1.1 401 Unauthorized\r\nX-Long: " + std::string(12'000, 'x') + "\r\n\r\n");
    EXPECT_EQ(client->httpStatus(), 401);
    EXPECT_TRUE(long401);

    auto const endless = failureAfter("HTTP/1.1 401 Unauthorized\r\nX-Long: " + std::string(100'000, 'x'));
    EXPECT_TRUE(endless);
    EXPECT_EQ(client->httpStatus(), std::nullopt);
}

TEST_F(BeastWebSocketEndTest, failsOnAnAnswerThatIsNoHttp)
{
    for (std::string const answer : {"SSH-2.0-OpenSSH_9.2\r\n\r\n", "HTTP/2 101 x\r\n\r\n",
                                     "HTTP/1.1 abc\r\n\r\n", "\r\n\r\n", "HTTP/1.1\r\n\r\n"}) {
        auto const failure = failureAfter(answer);
        ASSERT_TRUE(failure) << answer;
        EXPECT_EQ(failure->kind, Kind::other) << answer;
        EXPECT_EQ(client->httpStatus(), std::nullopt) << answer;
    }
}

TEST_F(BeastWebSocketEndTest, failsOnAnUpgradeWithTheWrongKey)
{
    auto const failure =
        failureAfter("HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: "
                     "Upgrade\r\nSec-WebSocket-Accept: AAAAAAAAAAAAAAAAAAAAAAAAAAA=\r\n\r\n");

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::other);
    EXPECT_EQ(client->httpStatus(), 101);
}

TEST_F(BeastWebSocketEndTest, reportsThePeersCloseCodeAndReason)
{
    auto const [socket, peer] = link();
    asio::co_spawn(io, peer->close(4401, "token revoked – widerrufen"), asio::detached);

    auto const failure = failureOfTask(socket->receive());

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::lost);
    EXPECT_EQ(socket->closeCode(), 4401);
    EXPECT_EQ(socket->closeReason(), "token revoked – widerrufen");
    EXPECT_EQ(socket->httpStatus(), 101);
}

TEST_F(BeastWebSocketEndTest, answersThePeersCloseSoThatItsHandshakeEnds)
{
    auto const [socket, peer] = link();

    wait(peer->close(1001, ""));

    EXPECT_EQ(peer->closeCode(), 1001);
    EXPECT_EQ(socket->closeCode(), 1001);
    EXPECT_EQ(socket->closeReason(), "");
}

TEST_F(BeastWebSocketEndTest, hasNoCloseCodeWhenThePeerGaveNone)
{
    auto const [socket, peer] = link();
    wait(peer->writeRaw(std::string("\x88\x00", 2)));

    auto const failure = failureOfTask(socket->receive());

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::lost);
    EXPECT_EQ(socket->closeCode(), std::nullopt);
    EXPECT_EQ(socket->closeReason(), std::nullopt);
}

TEST_F(BeastWebSocketEndTest, isLostWhenThePeerResets)
{
    auto const [socket, peer] = link();
    peer->reset();

    auto const failure = failureOfTask(socket->receive());

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::lost);
    EXPECT_EQ(socket->closeCode(), std::nullopt);
}

TEST_F(BeastWebSocketEndTest, isLostWhenThePeerResetsDuringTheHandshake)
{
    auto socket = openTo(server);
    auto peer = wait(server.accept());
    peer->reset();

    auto const failure = failureOfTask(socket->receive());

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::lost);
    EXPECT_EQ(socket->httpStatus(), std::nullopt);
}

TEST_F(BeastWebSocketEndTest, givesWhatIsInTheInboxBeforeItFails)
{
    auto const [socket, peer] = link();
    wait(peer->write(textMessage("one")));
    wait(peer->write(textMessage("two")));
    asio::co_spawn(io, peer->close(4401, ""), asio::detached);
    until([&] { return socket->closeCode() == 4401; });

    EXPECT_EQ(wait(socket->receive()).payload, "one");
    EXPECT_EQ(wait(socket->receive()).payload, "two");
    EXPECT_EQ(failureOfTask(socket->receive())->kind, Kind::lost);
    EXPECT_EQ(failureOfTask(socket->receive())->kind, Kind::lost);
}

TEST_F(BeastWebSocketEndTest, isUnreachableWhenRefused)
{
    std::string url;
    {
        TestServer gone(io.get_executor());
        url = gone.url();
    }
    WebSocketRequest request;
    request.url = url;

    auto const failure = failureOfTask(open(request)->receive());

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::unreachable);
}

TEST_F(BeastWebSocketEndTest, doesNotFindAHostThatDoesNotExist)
{
    WebSocketRequest request;
    request.url = "ws://no-such-host.invalid/machines/connect";

    auto const failure = failureOfTask(open(request)->receive());

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::hostNotFound);
}

TEST_F(BeastWebSocketEndTest, refusesAddressesThatAreNoWebSocket)
{
    for (std::string const url : {"", "http://127.0.0.1/", "ws://", "nonsense", "ws://127.0.0.1:99999/"}) {
        WebSocketRequest request;
        request.url = url;
        auto const failure = failureOfTask(open(request)->receive());
        ASSERT_TRUE(failure) << url;
        EXPECT_EQ(failure->kind, Kind::other) << url;
    }
}

TEST_F(BeastWebSocketEndTest, timesOutWhenTheHandshakeNeverEnds)
{
    auto socket = openTo(server, 30ms);
    auto peer = wait(server.accept());

    auto const failure = failureOfTask(socket->receive());

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::timedOut);
    EXPECT_EQ(socket->httpStatus(), std::nullopt);
}

TEST_F(BeastWebSocketEndTest, timesOutWhenTheHandshakeTrickles)
{
    auto socket = openTo(server, 50ms);
    auto peer = wait(server.accept());
    auto drip = [&]() -> Task<> {
        co_await peer->answer("HTTP/1.1 101 Sw");
        for (int i = 0; i < 100; ++i)
            co_await peer->writeRaw("i");
    };
    asio::co_spawn(io, drip(), asio::detached);

    EXPECT_EQ(failureOfTask(socket->receive())->kind, Kind::timedOut);
}

TEST_F(BeastWebSocketEndTest, livesOnAfterTheTimeOfTheHandshake)
{
    auto socket = openTo(server, 50ms);
    auto peer = wait(server.acceptUpgraded());
    runFor(80ms);

    wait(peer->write(textMessage("still here")));

    EXPECT_EQ(wait(socket->receive()).payload, "still here");
}

TEST_F(BeastWebSocketEndTest, failsWhatIsUnsentWhenItEnds)
{
    auto socket = openTo(server);
    std::optional<NetworkFailure> failure;
    auto sendEarly = [&]() -> Task<> {
        try {
            co_await socket->send("early");
        } catch (NetworkFailure const& problem) {
            failure = problem;
        }
    };
    asio::co_spawn(io, sendEarly(), asio::detached);
    auto peer = wait(server.accept());
    wait(peer->answer("HTTP/1.1 426 Upgrade Required\r\n\r\n"));
    until([&] { return failure.has_value(); });

    EXPECT_EQ(failure->kind, Kind::other);
    EXPECT_EQ(failureOfTask(socket->send("late"))->kind, Kind::other);
}

TEST_F(BeastWebSocketEndTest, sendsThePeerTheCloseCodeOfACancel)
{
    auto const [socket, peer] = link();

    socket->cancel(1001);

    EXPECT_EQ(wait(peer->read()), std::nullopt);
    EXPECT_EQ(peer->closeCode(), 1001);
    EXPECT_EQ(failureOfTask(socket->receive())->kind, Kind::cancelled);
}

TEST_F(BeastWebSocketEndTest, sendsTheCloseFrameEvenWhenItsOwnerGoesAtOnce)
{
    auto [socket, peer] = link();

    socket->cancel(1001);
    socket.reset();

    EXPECT_EQ(wait(peer->read()), std::nullopt);
    EXPECT_EQ(peer->closeCode(), 1001);
}

TEST_F(BeastWebSocketEndTest, dropsWithoutACloseCode)
{
    auto const [socket, peer] = link();

    socket->cancel();

    EXPECT_EQ(wait(peer->read()), std::nullopt);
    EXPECT_EQ(peer->closeCode(), 0);
    EXPECT_EQ(failureOfTask(socket->receive())->kind, Kind::cancelled);
    EXPECT_EQ(failureOfTask(socket->send("late"))->kind, Kind::cancelled);
}

TEST_F(BeastWebSocketEndTest, dropsWhenItsOwnerGoes)
{
    auto [socket, peer] = link();

    socket.reset();

    EXPECT_EQ(wait(peer->read()), std::nullopt);
    EXPECT_EQ(peer->closeCode(), 0);
}

TEST_F(BeastWebSocketEndTest, endsAPendingReceiveByCancelAndByGoing)
{
    for (bool const byCancel : {true, false}) {
        auto [socket, peer] = link();
        std::optional<NetworkFailure> failure;
        auto receive = [&failure](Task<WebSocketMessage> next) -> Task<> {
            try {
                co_await std::move(next);
            } catch (NetworkFailure const& problem) {
                failure = problem;
            }
        };
        asio::co_spawn(io, receive(socket->receive()), asio::detached);
        runFor(5ms);

        if (byCancel)
            socket->cancel();
        else
            socket.reset();
        until([&] { return failure.has_value(); });

        EXPECT_EQ(failure->kind, Kind::cancelled);
    }
}

TEST_F(BeastWebSocketEndTest, closesWithinBoundsWhenThePeerReadsNothing)
{
    auto [socket, peer] = link();
    asio::co_spawn(io, socket->send(std::string(std::size_t{64} << 20, 'a')), asio::detached);
    runFor(20ms);

    auto const begin = std::chrono::steady_clock::now();
    std::weak_ptr<WebSocket> const weak = socket;
    socket->cancel(1001);
    socket.reset();
    auto readToEnd = [from = peer]() -> Task<> {
        while (!(co_await from->readRaw()).empty()) {
        }
    };
    runFor(1200ms); // The time limit itself is under test.
    wait(readToEnd());

    EXPECT_TRUE(weak.expired());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
}

TEST_F(BeastWebSocketEndTest, ignoresASecondCancel)
{
    auto const [socket, peer] = link();

    socket->cancel(1001);
    socket->cancel(1001);
    runFor(5ms);
    socket->cancel();
    socket->cancel(1001);

    EXPECT_EQ(wait(peer->read()), std::nullopt);
    EXPECT_EQ(failureOfTask(socket->receive())->kind, Kind::cancelled);
}

TEST_F(BeastWebSocketEndTest, cancelsInEveryStateOfConnecting)
{
    for (bool const byCancel : {true, false}) {
        for (int const steps : {0, 1, 2, 3, 5, 8}) {
            auto socket = openTo(server);
            auto waiting = socket->receive();
            io.restart();
            for (int i = 0; i < steps; ++i)
                io.poll_one();
            if (byCancel) {
                socket->cancel(1001);
                EXPECT_EQ(failureOfTask(std::move(waiting))->kind, Kind::cancelled);
            }
            socket.reset();
            runFor(2ms);
        }
    }
}

TEST_F(BeastWebSocketEndTest, cancelsWhileTheNameIsBeingResolved)
{
    WebSocketRequest request;
    request.url = "ws://no-such-host.invalid/";
    auto socket = open(request);
    io.poll();

    socket->cancel(1001);

    EXPECT_EQ(failureOfTask(socket->receive())->kind, Kind::cancelled);
}

TEST_F(BeastWebSocketEndTest, cancelsWhileConnecting)
{
    // With a full backlog, further connections get no answer.
    asio::ip::tcp::acceptor full(io, {asio::ip::address_v4::loopback(), 0});
    full.listen(0);
    std::vector<asio::ip::tcp::socket> fillers;
    for (int i = 0; i < 3; ++i) {
        fillers.emplace_back(io).async_connect(full.local_endpoint(), asio::detached);
    }
    runFor(5ms);
    WebSocketRequest request;
    request.url = "ws://127.0.0.1:" + std::to_string(full.local_endpoint().port()) + "/";
    auto socket = open(request);
    runFor(5ms);

    socket->cancel();

    EXPECT_EQ(failureOfTask(socket->receive())->kind, Kind::cancelled);
}

TEST_F(BeastWebSocketEndTest, survivesTheEndOfTheLoopInEveryState)
{
    for (int const steps : {0, 1, 2, 4, 8, 16, 32, 64}) {
        asio::io_context loop;
        TestServer own(loop.get_executor());
        BeastWebSocketOpener openerOfLoop({loop.get_executor(), loop.get_executor(), loop.get_executor()});
        WebSocketRequest request;
        request.url = own.url();
        auto socket = openerOfLoop.open(request);
        asio::co_spawn(loop, own.acceptUpgraded(), asio::detached);
        asio::co_spawn(loop, socket->send("early"), asio::detached);
        asio::co_spawn(loop, socket->receive(), asio::detached);
        for (int i = 0; i < steps; ++i)
            loop.run_one_for(1ms);
        if (steps % 3 == 1)
            socket->cancel(1001);
        socket.reset();
    }
}

TEST_F(BeastWebSocketEndTest, letsATaskThatReceivesBeCancelled)
{
    auto const [socket, peer] = link();
    asio::cancellation_signal signal;
    bool aborted = false;
    asio::co_spawn(
        io, socket->receive(),
        asio::bind_cancellation_slot(signal.slot(), [&](std::exception_ptr failure, WebSocketMessage) {
            try {
                std::rethrow_exception(failure);
            } catch (boost::system::system_error const& error) {
                aborted = error.code() == asio::error::operation_aborted;
            }
        }));
    runFor(5ms);

    signal.emit(asio::cancellation_type::terminal);
    until([&] { return aborted; });
    wait(peer->write(textMessage("for the next")));

    EXPECT_EQ(wait(socket->receive()).payload, "for the next");
}

} // namespace

} // namespace zelvo
