#include "unit/net/SocketTest.h"

#include <gmock/gmock.h>
#include <openssl/ssl.h>

namespace zelvo {

namespace {

using Kind = NetworkFailure::Kind;

class BeastWebSocketTlsTest : public SocketTest {
protected:
    /// Opens a socket to a server with a certificate for `name`, asking for `host`.
    std::shared_ptr<WebSocket> openSecure(TestServer& to, std::string const& host)
    {
        WebSocketRequest request;
        request.url = to.url(host);
        request.timeout = 20s;
        return open(std::move(request));
    }

    /// The failure of a socket that asks for `host` at a server with a certificate for `name`; `nullopt` if
    /// it connects.
    std::optional<NetworkFailure> outcome(std::string const& name, std::string const& host, bool trusted)
    {
        TestCertificates const certificates(name);
        TestCertificates const others("elsewhere.invalid");
        ScopedVariable const store("SSL_CERT_FILE", (trusted ? certificates : others).authorityFile);
        TestServer secureServer(io.get_executor(), &certificates);
        auto client = openSecure(secureServer, host);
        std::shared_ptr<TestPeer> peer;
        auto serve = [&]() -> Task<> {
            peer = co_await secureServer.accept();
            try {
                co_await peer->secure();
                co_await peer->upgrade();
                co_await peer->write(textMessage("hello"));
            } catch (boost::system::system_error const&) {
                // A client that rejects the certificate closes the connection.
            }
        };
        asio::co_spawn(io, serve(), asio::detached);
        auto failure = failureOfTask(client->receive());
        client.reset();
        runFor(5ms);
        if (peer)
            servedName = peer->serverName;
        return failure;
    }

    std::string servedName;
};

TEST_F(BeastWebSocketTlsTest, acceptsATrustedCertificateOfThatName)
{
    EXPECT_FALSE(outcome("localhost", "localhost", true));
    EXPECT_EQ(servedName, "localhost");
}

TEST_F(BeastWebSocketTlsTest, acceptsATrustedCertificateOfThatAddress)
{
    EXPECT_FALSE(outcome("127.0.0.1", "127.0.0.1", true));
    EXPECT_EQ(servedName, ""); // IP addresses are not sent as server names.
}

TEST_F(BeastWebSocketTlsTest, refusesACertificateOfAnotherName)
{
    auto const failure = outcome("example.org", "localhost", true);

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::tls);
}

TEST_F(BeastWebSocketTlsTest, refusesANamesCertificateForAnAddressAndTheOtherWayRound)
{
    EXPECT_EQ(outcome("localhost", "127.0.0.1", true)->kind, Kind::tls);
    EXPECT_EQ(outcome("127.0.0.1", "localhost", true)->kind, Kind::tls);
}

TEST_F(BeastWebSocketTlsTest, refusesAnUntrustedCertificate)
{
    auto const failure = outcome("localhost", "localhost", false);

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::tls);
    EXPECT_THAT(failure->description, testing::HasSubstr("certificate"));
}

TEST_F(BeastWebSocketTlsTest, failsAgainstAServerWithoutTls)
{
    auto client = open({.url = "wss://127.0.0.1:" + std::to_string(server.port()) + "/", .headers = {}});
    auto peer = wait(server.accept());
    asio::co_spawn(io, peer->writeRaw("HTTP/1.1 400 Bad Request\r\n\r\n"), asio::detached);

    EXPECT_EQ(failureOfTask(client->receive())->kind, Kind::tls);
}

TEST_F(BeastWebSocketTlsTest, timesOutAndCancelsInTheMiddleOfTheHandshake)
{
    WebSocketRequest request;
    request.url = "wss://127.0.0.1:" + std::to_string(server.port()) + "/";
    request.timeout = 30ms;
    auto timedOut = open(request);
    auto firstPeer = wait(server.accept());
    EXPECT_EQ(failureOfTask(timedOut->receive())->kind, Kind::timedOut);

    request.timeout = 20s;
    auto cancelled = open(request);
    auto peer = wait(server.accept());
    wait(peer->readRaw()); // The client's hello.
    cancelled->cancel(1001);
    EXPECT_EQ(failureOfTask(cancelled->receive())->kind, Kind::cancelled);
    cancelled.reset();

    auto abandoned = open(request);
    auto lastPeer = wait(server.accept());
    wait(lastPeer->readRaw());
    abandoned.reset();
    EXPECT_EQ(wait(lastPeer->readRaw()), "");
}

TEST_F(BeastWebSocketTlsTest, carriesLargeMessagesAndACloseCode)
{
    TestCertificates const certificates("localhost");
    ScopedVariable const store("SSL_CERT_FILE", certificates.authorityFile);
    TestServer secureServer(io.get_executor(), &certificates);
    auto client = openSecure(secureServer, "localhost");
    auto peer = wait(secureServer.acceptUpgraded());
    std::string const large(5'000'000, 'x');

    asio::co_spawn(io, peer->write(textMessage(large)), asio::detached);
    EXPECT_TRUE(wait(client->receive()).payload == large);
    asio::co_spawn(io, client->send(large), asio::detached);
    EXPECT_TRUE(wait(peer->read())->payload == large);

    asio::co_spawn(io, peer->close(4401, "revoked"), asio::detached);
    EXPECT_EQ(failureOfTask(client->receive())->kind, Kind::lost);
    EXPECT_EQ(client->closeCode(), 4401);
    EXPECT_EQ(client->closeReason(), "revoked");
}

TEST_F(BeastWebSocketTlsTest, sendsThePeerTheCloseCodeOfACancel)
{
    TestCertificates const certificates("localhost");
    ScopedVariable const store("SSL_CERT_FILE", certificates.authorityFile);
    TestServer secureServer(io.get_executor(), &certificates);
    auto client = openSecure(secureServer, "localhost");
    auto peer = wait(secureServer.acceptUpgraded());
    until([&] { return client->httpStatus() == 101; });

    client->cancel(1001);

    EXPECT_EQ(wait(peer->read()), std::nullopt);
    EXPECT_EQ(peer->closeCode(), 1001);
}

} // namespace

} // namespace zelvo
