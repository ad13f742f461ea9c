#include "platform/portable/net/CurlHttpLoading.h"

#include "unit/net/NetTest.h"
#include "unit/net/TestPeer.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <gmock/gmock.h>

#include <chrono>

namespace zelvo {

namespace {

using Kind = NetworkFailure::Kind;
using testing::HasSubstr;

class CurlHttpLoadingTest : public NetTest {
protected:
    ~CurlHttpLoadingTest() override
    {
        loading.reset();
        workers.join();
    }

    /// Loads while the server answers with these bytes and keeps the connection open.
    HttpResponse load(HttpRequest request, std::string answer)
    {
        auto serve = [&]() -> Task<> {
            peer = co_await server.accept();
            co_await peer->answer(std::move(answer));
        };
        asio::co_spawn(io, serve(), asio::detached);
        return wait(loading->load(std::move(request)));
    }

    std::optional<NetworkFailure> failureOfLoad(HttpRequest request, std::string answer)
    {
        try {
            load(std::move(request), std::move(answer));
        } catch (NetworkFailure const& failure) {
            return failure;
        }
        return std::nullopt;
    }

    /// Makes a call that the server never answers, and ends it.
    NetworkFailure failureOfSilentCall(std::function<void()> end)
    {
        std::optional<NetworkFailure> failure;
        auto call = [&]() -> Task<> {
            try {
                co_await loading->load(request());
            } catch (NetworkFailure const& problem) {
                failure = problem;
            }
        };
        asio::co_spawn(io, call(), asio::detached);
        peer = wait(server.accept());
        end();
        until([&] { return failure.has_value(); });
        return *failure;
    }

    HttpRequest request() const
    {
        HttpRequest one;
        one.url = server.httpUrl();
        return one;
    }

    asio::thread_pool workers{2};
    TestServer server{io.get_executor()};
    std::shared_ptr<TestPeer> peer;
    std::unique_ptr<CurlHttpLoading> loading = std::make_unique<CurlHttpLoading>(
        Contexts{io.get_executor(), io.get_executor(), workers.get_executor()});
};

TEST_F(CurlHttpLoadingTest, givesStatusAndBody)
{
    auto const answer = load(request(), "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello");

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, "hello");
    EXPECT_THAT(peer->requestHead, testing::StartsWith("GET /link HTTP/1.1\r\n"));
}

TEST_F(CurlHttpLoadingTest, givesTheBodyOfARefusalToo)
{
    for (int const status : {302, 400, 404, 500}) {
        auto const answer =
            load(request(), "HTTP/1.1 " + std::to_string(status) +
                                " X\r\nLocation: http://127.0.0.1:1/\r\nContent-Length: 2\r\n\r\nno");

        EXPECT_EQ(answer.status, status);
        EXPECT_EQ(answer.body, "no");
    }
}

TEST_F(CurlHttpLoadingTest, takesAHeadBeforeTheHeadAndLinesBehindTheBody)
{
    auto const answer = load(request(), "HTTP/1.1 103 Early Hints\r\nLink: </x>\r\n\r\n"
                                        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                        "2\r\nok\r\n0\r\nX-Sum: 7\r\n\r\n");

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, "ok");
}

TEST_F(CurlHttpLoadingTest, sendsMethodHeadersAndBody)
{
    HttpRequest post = request();
    post.method = "POST";
    post.headers = {{"Content-Type", "application/json"}, {"X-Empty", ""}};
    post.body = R"({"token":"secret"})";
    std::string body;
    auto serve = [&]() -> Task<> {
        peer = co_await server.accept();
        std::string received;
        while (received.find("secret\"}") == std::string::npos)
            received += co_await peer->readRaw();
        body = received;
        co_await peer->writeRaw("HTTP/1.1 204 No Content\r\n\r\n");
    };
    asio::co_spawn(io, serve(), asio::detached);

    auto const answer = wait(loading->load(post));

    EXPECT_EQ(answer.status, 204);
    EXPECT_EQ(answer.body, "");
    EXPECT_THAT(body, testing::StartsWith("POST /link HTTP/1.1\r\n"));
    EXPECT_THAT(body, HasSubstr("Content-Type: application/json\r\n"));
    EXPECT_THAT(body, HasSubstr("X-Empty:\r\n"));
    EXPECT_THAT(body, Not(HasSubstr("Expect:")));
    EXPECT_THAT(body, testing::EndsWith("\r\n\r\n{\"token\":\"secret\"}"));
}

TEST_F(CurlHttpLoadingTest, sendsAnEmptyPostAndAPutAndAHead)
{
    HttpRequest one = request();
    one.method = "POST";
    load(one, "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
    EXPECT_THAT(peer->requestHead, HasSubstr("POST /link"));
    EXPECT_THAT(peer->requestHead, HasSubstr("Content-Length: 0"));

    one.method = "PUT";
    one.body = "x";
    load(one, "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
    EXPECT_THAT(peer->requestHead, HasSubstr("PUT /link"));

    one.method = "HEAD";
    one.body = "";
    EXPECT_EQ(load(one, "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n").status, 200);
    EXPECT_THAT(peer->requestHead, HasSubstr("HEAD /link"));
}

TEST_F(CurlHttpLoadingTest, refusesAHeaderWithALineBreak)
{
    HttpRequest one = request();
    one.headers = {{"Authorization", "secret\r\nX: y"}};

    auto const failure = failureOfTask(loading->load(one));

    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::other);
    EXPECT_THAT(failure->description, Not(HasSubstr("secret")));
}

TEST_F(CurlHttpLoadingTest, timesOutWithoutAByte)
{
    HttpRequest one = request();
    one.timeout = 50ms;

    EXPECT_EQ(failureOfLoad(one, "")->kind, Kind::timedOut);
    EXPECT_EQ(failureOfLoad(one, "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhe")->kind, Kind::timedOut);
}

TEST_F(CurlHttpLoadingTest, doesNotTimeOutWhileBytesCome)
{
    HttpRequest one = request();
    one.timeout = 60ms;
    auto serve = [&]() -> Task<> {
        peer = co_await server.accept();
        co_await peer->answer("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n");
        asio::steady_timer pause(io);
        for (int i = 0; i < 10; ++i) {
            pause.expires_after(15ms);
            co_await pause.async_wait(asio::use_awaitable);
            co_await peer->writeRaw("x");
        }
    };
    asio::co_spawn(io, serve(), asio::detached);

    EXPECT_EQ(wait(loading->load(one)).body, "xxxxxxxxxx");
}

TEST_F(CurlHttpLoadingTest, endsAfterItsLongestTimeThoughBytesCome)
{
    HttpRequest one = request();
    one.longest = 200ms;
    auto serve = [&]() -> Task<> {
        peer = co_await server.accept();
        co_await peer->answer("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n");
        asio::steady_timer pause(io);
        while (true) {
            pause.expires_after(10ms);
            co_await pause.async_wait(asio::use_awaitable);
            co_await peer->writeRaw("x");
        }
    };
    asio::co_spawn(io, serve(), [](std::exception_ptr const&) {}); // Ends when the client disconnects.

    EXPECT_EQ(failureOfTask(loading->load(one))->kind, Kind::timedOut);
}

TEST_F(CurlHttpLoadingTest, reportsWhyThereIsNoAnswer)
{
    HttpRequest one = request();
    one.url = "http://127.0.0.1:1/";
    EXPECT_EQ(failureOfTask(loading->load(one))->kind, Kind::unreachable);
    one.url = "http://no-such-host.invalid/";
    EXPECT_EQ(failureOfTask(loading->load(one))->kind, Kind::hostNotFound);
    one.url = "file:///etc/passwd";
    EXPECT_EQ(failureOfTask(loading->load(one))->kind, Kind::other);
    one.url = "nonsense://";
    EXPECT_EQ(failureOfTask(loading->load(one))->kind, Kind::other);
    one.url = "";
    EXPECT_EQ(failureOfTask(loading->load(one))->kind, Kind::other);
}

TEST_F(CurlHttpLoadingTest, isLostWhenTheServerGoes)
{
    auto serve = [&](std::string answer) -> Task<> {
        peer = co_await server.accept();
        co_await peer->answer(answer);
        peer->reset();
    };
    for (char const* const answer : {"", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhe",
                                     "HTTP/1.1 200 OK\r\nConte", "HTTP/1.1 200 OK\r\n"}) {
        asio::co_spawn(io, serve(answer), asio::detached);
        EXPECT_EQ(failureOfTask(loading->load(request()))->kind, Kind::lost);
    }
}

TEST_F(CurlHttpLoadingTest, takesSixteenMebibytesAndNoMore)
{
    constexpr std::size_t most = std::size_t{16} << 20;
    auto const exact = load(request(), "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(most) +
                                           "\r\n\r\n" + std::string(most, 'x'));
    EXPECT_EQ(exact.body.size(), most);

    auto const failure =
        failureOfLoad(request(), "HTTP/1.1 200 OK\r\n\r\n" + std::string(most + (std::size_t{1} << 20), 'x'));
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->kind, Kind::other);
    EXPECT_THAT(failure->description, HasSubstr("16 MiB"));
}

TEST_F(CurlHttpLoadingTest, givesUpABodyThatNeverEnds)
{
    bool gone = false;
    auto serve = [&]() -> Task<> {
        peer = co_await server.accept();
        co_await peer->answer("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
        std::string const chunk = "10000\r\n" + std::string(0x10000, 'x') + "\r\n";
        for (int i = 0; i < 1000; ++i)
            co_await peer->writeRaw(chunk);
    };
    asio::co_spawn(io, serve(), [&](std::exception_ptr writingFailed) { gone = writingFailed != nullptr; });

    EXPECT_EQ(failureOfTask(loading->load(request()))->kind, Kind::other);
    until([&] { return gone; });
}

TEST_F(CurlHttpLoadingTest, givesUpAHeadThatNeverEnds)
{
    std::string const lines(1000, 'x');
    std::vector<std::pair<std::string, std::string>> const heads = {
        {"HTTP/1.1 200 OK\r\n", "X-Line: " + lines + "\r\n"},
        {"HTTP/1.1 200 OK\r\nX-One-Line: ", lines},
        {"", "HTTP/1.1 103 Early Hints\r\nX-Line: " + lines + "\r\n\r\n"},
        {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n", "X-Line: " + lines + "\r\n"}};
    for (auto const& [begin, more] : heads) {
        bool gone = false;
        auto serve = [&]() -> Task<> {
            peer = co_await server.accept();
            co_await peer->answer(begin);
            for (int i = 0; i < 20'000; ++i)
                co_await peer->writeRaw(more);
        };
        asio::co_spawn(io, serve(),
                       [&](std::exception_ptr writingFailed) { gone = writingFailed != nullptr; });
        HttpRequest one = request();
        one.timeout = 5s;

        auto const failure = failureOfTask(loading->load(one));

        ASSERT_TRUE(failure) << more.substr(0, 20);
        EXPECT_NE(failure->kind, Kind::timedOut) << more.substr(0, 20);
        until([&] { return gone; });
    }
}

TEST_F(CurlHttpLoadingTest, checksTheCertificateAgainstTheStoreAndTheName)
{
    TestCertificates const certificates("localhost");
    TestCertificates const others("localhost");
    TestServer secureServer(io.get_executor(), &certificates);
    auto serve = [&]() -> Task<> {
        while (true) {
            auto one = co_await secureServer.accept();
            try {
                co_await one->secure();
                co_await one->answer("HTTP/1.1 200 OK\r\nContent-Length: 2\r\nConnection: close\r\n\r\nok");
            } catch (boost::system::system_error const&) {
                // A client that rejects the certificate closes the connection.
            }
        }
    };
    asio::co_spawn(io, serve(), asio::detached);
    HttpRequest one;
    one.url = secureServer.httpUrl("localhost");
    {
        ScopedVariable const store("SSL_CERT_FILE", certificates.authorityFile);
        EXPECT_EQ(wait(loading->load(one)).body, "ok");
        HttpRequest wrongName = one;
        wrongName.url = secureServer.httpUrl("127.0.0.1");
        EXPECT_EQ(failureOfTask(loading->load(wrongName))->kind, Kind::tls);
    }
    ScopedVariable const store("SSL_CERT_FILE", others.authorityFile);
    EXPECT_EQ(failureOfTask(loading->load(one))->kind, Kind::tls);
}

TEST_F(CurlHttpLoadingTest, goesThroughTheProxyOfTheEnvironment)
{
    ScopedVariable const variable("http_proxy", server.httpUrl());
    HttpRequest one;
    one.url = "http://only-the-proxy-knows.invalid/x";

    EXPECT_EQ(load(one, "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok").body, "ok");
    EXPECT_THAT(peer->requestHead,
                testing::StartsWith("GET http://only-the-proxy-knows.invalid/x HTTP/1.1\r\n"));
}

TEST_F(CurlHttpLoadingTest, endsItsCallsWhenItGoes)
{
    EXPECT_EQ(failureOfSilentCall([this] { loading.reset(); }).kind, Kind::cancelled);
}

TEST_F(CurlHttpLoadingTest, endCallsEndsItsCalls)
{
    EXPECT_EQ(failureOfSilentCall([this] { loading->endCalls(); }).kind, Kind::cancelled);
}

TEST_F(CurlHttpLoadingTest, endsACallWhoseTaskIsCancelled)
{
    asio::cancellation_signal signal;
    bool ended = false;
    Kind kind = Kind::other;
    auto onEnd = [&](std::exception_ptr problem, HttpResponse) {
        ended = true;
        try {
            std::rethrow_exception(problem);
        } catch (NetworkFailure const& failure) {
            kind = failure.kind;
        }
    };
    asio::co_spawn(io, loading->load(request()), asio::bind_cancellation_slot(signal.slot(), onEnd));
    peer = wait(server.accept());

    signal.emit(asio::cancellation_type::terminal);
    until([&] { return ended; });

    EXPECT_EQ(kind, Kind::cancelled);
}

} // namespace

} // namespace zelvo
