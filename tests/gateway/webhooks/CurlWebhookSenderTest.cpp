#include "ZelvoGateway/webhooks/CurlWebhookSender.h"

#include "gateway/support/RunTask.h"
#include "gateway/support/WebhookReceiver.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

namespace zelvo::service {
namespace {

WebhookRules open()
{
    return {.toOwnNetwork = true};
}

WebhookAnswer send(WebhookRules const& rules, std::string const& url)
{
    CurlWebhookSender sender(rules);
    asio::io_context io;
    WebhookRequest request{
        .url = url, .headers = {{"Content-Type", "application/json"}, {"X-A", "b"}}, .body = R"({"a":1})"};
    return runTask(io, sender.send(std::move(request)));
}

TEST(CurlWebhookSender, postsBodyAndHeaders)
{
    WebhookReceiver receiver(WebhookReceiver::withStatus(204));

    WebhookAnswer const answer = send(open(), receiver.url());

    EXPECT_EQ(answer.status, 204);
    EXPECT_EQ(answer.error, "");
    ASSERT_EQ(receiver.received().size(), 1U);
    EXPECT_EQ(receiver.received().front().body, R"({"a":1})");
    EXPECT_EQ(receiver.received().front().headers.at("content-type"), "application/json");
    EXPECT_EQ(receiver.received().front().headers.at("x-a"), "b");
}

TEST(CurlWebhookSender, followsNoRedirect)
{
    WebhookReceiver target;
    WebhookReceiver receiver(WebhookReceiver::withStatus(
        307, "Location: http://127.0.0.1:" + std::to_string(target.port()) + "/\r\n"));

    EXPECT_EQ(send(open(), receiver.url()).status, 307);
    EXPECT_TRUE(target.received().empty());
}

TEST(CurlWebhookSender, connectsToNoAddressOfItsOwnNetwork)
{
    WebhookReceiver receiver;
    std::string const port = std::to_string(receiver.port());
    std::string host(256, '\0');
    ASSERT_EQ(::gethostname(host.data(), host.size() - 1), 0);
    host.resize(host.find('\0'));

    // Names, and spellings of addresses that only some parsers know.
    for (std::string const& name :
         {std::string("127.0.0.1"), std::string("localhost"), std::string("127.1"), std::string("2130706433"),
          std::string("0x7f000001"), std::string("0177.0.0.1"), std::string("0.0.0.0"), std::string("0"),
          std::string("[::ffff:127.0.0.1]"), std::string("[::1]"), host}) {
        WebhookAnswer const answer = send({}, "https://" + name + ":" + port + "/hook");
        EXPECT_EQ(answer.status, 0) << name;
        EXPECT_EQ(answer.error, "the address is inside the gateway's network") << name;
    }
    EXPECT_TRUE(receiver.received().empty());
    EXPECT_EQ(send(open(), receiver.url()).status, 200); // The receiver was there.
}

TEST(CurlWebhookSender, sendsNothingWithoutTls)
{
    WebhookReceiver receiver;

    EXPECT_EQ(send({}, receiver.url()).status, 0);
    EXPECT_TRUE(receiver.received().empty());
}

TEST(CurlWebhookSender, asksNoProxy)
{
    WebhookReceiver proxy;
    std::string const address = "http://127.0.0.1:" + std::to_string(proxy.port());
    ::setenv("https_proxy", address.c_str(), 1);
    ::setenv("http_proxy", address.c_str(), 1);
    ::setenv("ALL_PROXY", address.c_str(), 1);

    WebhookAnswer const answer = send({}, "https://127.0.0.1:9/hook");
    for (char const* const name : {"https_proxy", "http_proxy", "ALL_PROXY"})
        ::unsetenv(name);

    EXPECT_EQ(answer.error, "the address is inside the gateway's network");
    EXPECT_TRUE(proxy.received().empty());
}

TEST(CurlWebhookSender, givesUpOnSilence)
{
    WebhookReceiver receiver([](int) {});
    WebhookRules rules = open();
    rules.timeout = 300ms;

    WebhookAnswer const answer = send(rules, receiver.url());

    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.error, "no answer in time");
}

TEST(CurlWebhookSender, readsLittleOfALongAnswer)
{
    std::atomic<std::size_t> sent = 0;
    WebhookReceiver receiver([&](int socket) {
        WebhookReceiver::sendAll(socket, "HTTP/1.1 200 OK\r\nContent-Length: 10737418240\r\n\r\n");
        std::string const piece(65536, 'x');
        while (sent < (1U << 30) && WebhookReceiver::sendAll(socket, piece))
            sent += piece.size();
    });

    WebhookAnswer const answer = send(open(), receiver.url());

    EXPECT_EQ(answer.status, 200); // Its status came.
    EXPECT_LT(sent, 64U << 20) << "what fits into the sockets' buffers, and no more";
}

TEST(CurlWebhookSender, readsLittleOfALongHead)
{
    WebhookReceiver receiver([](int socket) {
        std::string const line = "X-Long: " + std::string(8000, 'x') + "\r\n";
        WebhookReceiver::sendAll(socket, "HTTP/1.1 200 OK\r\n");
        for (int i = 0; i < 100'000 && WebhookReceiver::sendAll(socket, line); ++i) {
        }
    });

    WebhookAnswer const answer = send(open(), receiver.url());

    EXPECT_EQ(answer.status, 0);
    EXPECT_NE(answer.error, "");
}

TEST(CurlWebhookSender, doesNotTakeNonsenseForAnAnswer)
{
    for (std::string const text : {"", "nonsense\r\n\r\n", "HTTP/1.1 2\r\n\r\n", "HTTP/1.1 200"}) {
        WebhookReceiver receiver([&](int socket) {
            WebhookReceiver::sendAll(socket, text);
            ::shutdown(socket, SHUT_RDWR);
        });
        EXPECT_NE(send(open(), receiver.url()).status / 100, 2) << text;
    }
}

TEST(CurlWebhookSender, delaysNobodyForASilentOne)
{
    WebhookReceiver silent([](int) {});
    WebhookReceiver quick;
    WebhookRules const rules = open();
    CurlWebhookSender sender(rules);
    asio::io_context io;
    int stillWaiting = 0;
    for (int i = 0; i < 20; ++i) {
        ++stillWaiting;
        WebhookRequest request{.url = silent.url(), .headers = {}, .body = "{}"};
        asio::co_spawn(io, sender.send(std::move(request)),
                       [&](std::exception_ptr, WebhookAnswer const&) { --stillWaiting; });
    }
    io.poll();
    WebhookRequest request{.url = quick.url(), .headers = {}, .body = "{}"};
    bool isDone = false;
    asio::co_spawn(io, sender.send(std::move(request)),
                   [&](std::exception_ptr, WebhookAnswer const& answer) { isDone = answer.status == 200; });
    while (!isDone && io.run_one_for(10s) > 0) {
    }

    EXPECT_TRUE(isDone);
    EXPECT_EQ(stillWaiting, 20);

    sender.stop(); // Ends them all at once.
    io.run();
    EXPECT_EQ(stillWaiting, 0);
}

TEST(CurlWebhookSender, sendsNothingOnceItIsStopped)
{
    WebhookReceiver receiver;
    WebhookRules const rules = open();
    CurlWebhookSender sender(rules);
    asio::io_context io;
    sender.stop();

    WebhookRequest request{.url = receiver.url(), .headers = {}, .body = "{}"};
    EXPECT_EQ(runTask(io, sender.send(std::move(request))).status, 0);
    EXPECT_TRUE(receiver.received().empty());
}

} // namespace
} // namespace zelvo::service
