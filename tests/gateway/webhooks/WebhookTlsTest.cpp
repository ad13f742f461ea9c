#include "ZelvoGateway/webhooks/CurlWebhookSender.h"
#include "ZelvoGateway/webhooks/WebhookUrl.h"
#include "gateway/support/FakeNames.h"
#include "gateway/support/RunTask.h"
#include "unit/net/TestPeer.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>

namespace zelvo::service {
namespace {

constexpr char const* name = "hooks.example";

/// A platform's server behind TLS on a loopback address. It answers with 200.
class TlsReceiver {
public:
    explicit TlsReceiver(TestCertificates const& certificates) : server(io.get_executor(), &certificates)
    {
        asio::co_spawn(io, serve(), asio::detached);
        thread = std::thread([this] { io.run(); });
    }
    TlsReceiver(TlsReceiver const&) = delete;
    TlsReceiver& operator=(TlsReceiver const&) = delete;
    ~TlsReceiver()
    {
        io.stop();
        thread.join();
    }

    std::string url(std::string const& host = name) const
    {
        return "https://" + host + ":" + std::to_string(server.port()) + "/hook";
    }
    int accepted() const { return connections; }
    int answered() const { return requests; }

private:
    Task<> serve()
    {
        for (;;) {
            peers.push_back(co_await server.accept());
            ++connections;
            try {
                co_await peers.back()->secure();
                co_await peers.back()->answer("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
                ++requests;
            } catch (boost::system::system_error const&) {
                // The sender did not trust the certificate.
            }
        }
    }

    asio::io_context io;
    TestServer server;
    std::vector<std::shared_ptr<TestPeer>> peers;
    std::atomic<int> connections = 0;
    std::atomic<int> requests = 0;
    std::thread thread;
};

class WebhookTls : public testing::Test {
protected:
    WebhookTls() { FakeNames::set(name, "127.0.0.1"); }
    ~WebhookTls() override { ::unsetenv("SSL_CERT_FILE"); }

    static void trust(TestCertificates const& certificates)
    {
        ::setenv("SSL_CERT_FILE", certificates.authorityFile.c_str(), 1);
    }
    WebhookAnswer send(std::string const& url)
    {
        WebhookRequest request{.url = url, .headers = {}, .body = "{}"};
        return runTask(io, sender.send(std::move(request)));
    }

    FakeNames names;
    TestCertificates certificates{name};
    TlsReceiver receiver{certificates};
    WebhookRules rules{.toOwnNetwork = true};
    asio::io_context io;
    CurlWebhookSender sender{rules};
};

TEST_F(WebhookTls, postsToAReceiverWithAGoodCertificate)
{
    trust(certificates);

    WebhookAnswer const answer = send(receiver.url());

    EXPECT_EQ(answer.status, 200) << answer.error;
    EXPECT_EQ(receiver.answered(), 1);
}

TEST_F(WebhookTls, postsToNobodyWhoseAuthorityIsUnknown)
{
    WebhookAnswer const answer = send(receiver.url());

    EXPECT_EQ(answer.status, 0);
    EXPECT_NE(answer.error.find("certificate"), std::string::npos) << answer.error;
    EXPECT_EQ(receiver.accepted(), 1);
    EXPECT_EQ(receiver.answered(), 0);
}

TEST_F(WebhookTls, postsToNobodyWithAnothersCertificate)
{
    trust(certificates);
    FakeNames::set("other.example", "127.0.0.1");

    WebhookAnswer const answer = send(receiver.url("other.example"));

    EXPECT_EQ(answer.status, 0);
    EXPECT_NE(answer.error.find("certificate"), std::string::npos) << answer.error;
    EXPECT_EQ(receiver.answered(), 0);
}

TEST_F(WebhookTls, judgesTheAddressThatANameLeadsToAtThatMoment)
{
    trust(certificates);
    ASSERT_EQ(send(receiver.url()).status, 200);
    rules.toOwnNetwork = false;
    EXPECT_NO_THROW(assertWebhookUrl(receiver.url(), rules)); // By its name it could be anywhere.

    WebhookAnswer const answer = send(receiver.url()); // Now it leads into the gateway's network.

    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.error, "the address is inside the gateway's network");
    EXPECT_EQ(receiver.accepted(), 1);
    EXPECT_GE(FakeNames::lookups(name), 1);
}

} // namespace
} // namespace zelvo::service
