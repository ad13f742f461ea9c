#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/webhooks/RetryDelay.h"
#include "ZelvoGateway/webhooks/WebhookSignature.h"
#include "ZelvoGateway/webhooks/WebhookUrl.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

namespace ip = boost::asio::ip;

Date const someDay = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21));

bool isAllowed(std::string const& url, WebhookRules const& rules = {})
{
    try {
        assertWebhookUrl(url, rules);
        return true;
    } catch (Failure const& failure) {
        EXPECT_EQ(failure.code, ErrorCode::invalidRequest);
        return false;
    }
}

TEST(WebhookUrl, isAPublicAddressWithTls)
{
    for (char const* const url : {"https://acme.example/hook", "HTTPS://acme.example:8443/a?b=c",
                                  "https://8.8.8.8/", "https://[2606:4700::1111]/hook"})
        EXPECT_TRUE(isAllowed(url)) << url;
    for (std::string const& url :
         {std::string(""), std::string("hook"), std::string("//acme.example"),
          std::string("http://acme.example/"), std::string("ftp://acme.example/"),
          std::string("https://user:pw@acme.example/"), std::string("https://acme.example/#part"),
          std::string("https:///hook"), std::string("https://acme.example:0/"),
          std::string("https://acme.example:99999/"), std::string("https://acme.example/a b"),
          "https://acme.example/" + std::string(2048, 'a')})
        EXPECT_FALSE(isAllowed(url)) << url;
}

TEST(WebhookUrl, isNotInsideTheNetwork)
{
    for (char const* const host : {"localhost",
                                   "LOCALHOST",
                                   "a.localhost",
                                   "printer.local",
                                   "metadata.google.internal",
                                   "127.0.0.1",
                                   "127.8.8.8",
                                   "0.0.0.0",
                                   "10.1.2.3",
                                   "172.16.0.1",
                                   "172.31.255.255",
                                   "192.168.1.1",
                                   "169.254.169.254",
                                   "100.64.0.1",
                                   "224.0.0.1",
                                   "255.255.255.255",
                                   "[::]",
                                   "[::1]",
                                   "[fe80::1]",
                                   "[fc00::1]",
                                   "[fd12::1]",
                                   "[ff02::1]",
                                   "[::ffff:127.0.0.1]",
                                   "[::ffff:10.0.0.1]",
                                   "[64:ff9b::a00:1]",
                                   "[2002:a00:1::]",
                                   "[2001:db8::1]"})
        EXPECT_FALSE(isAllowed("https://" + std::string(host) + "/")) << host;
}

TEST(WebhookUrl, isAnyWithTheFlag)
{
    WebhookRules const rules{.toOwnNetwork = true};

    for (char const* const url : {"http://127.0.0.1:3000/hook", "http://localhost/", "https://10.0.0.1/"})
        EXPECT_TRUE(isAllowed(url, rules)) << url;
    EXPECT_FALSE(isAllowed("file:///etc/passwd", rules));
}

TEST(WebhookAddress, isJudgedAsWhatItLeadsTo)
{
    WebhookRules const rules;

    for (char const* const text :
         {"127.0.0.1", "10.0.0.1", "100.127.255.255", "169.254.0.1", "::1", "fe80::1", "fd00::1", "ff02::1",
          "::ffff:192.168.0.1", "64:ff9b::7f00:1", "2002:7f00:1::"})
        EXPECT_FALSE(isWebhookAddress(ip::make_address(text), rules)) << text;
    EXPECT_TRUE(isWebhookAddress(ip::make_address("8.8.8.8"), rules));
    EXPECT_TRUE(isWebhookAddress(ip::make_address("::ffff:8.8.8.8"), rules));
    EXPECT_TRUE(isWebhookAddress(ip::make_address("127.0.0.1"), {.toOwnNetwork = true}));
}

TEST(RetryDelay, doublesUpToALimit)
{
    WebhookRules const rules{.firstRetry = 10s, .maxRetry = 60s};

    EXPECT_EQ(retryDelay(rules, 1, 0.5), 10s);
    EXPECT_EQ(retryDelay(rules, 2, 0.5), 20s);
    EXPECT_EQ(retryDelay(rules, 3, 0.5), 40s);
    EXPECT_EQ(retryDelay(rules, 4, 0.5), 60s);
    EXPECT_EQ(retryDelay(rules, 1'000'000'000, 0.5), 60s);
}

TEST(RetryDelay, isSpread)
{
    WebhookRules const rules{.firstRetry = 100s};

    EXPECT_EQ(retryDelay(rules, 1, 0), 75s);
    EXPECT_EQ(retryDelay(rules, 1, 1), 125s);
}

TEST(RetryDelay, spreadsAttemptsOverADay)
{
    WebhookRules const rules;
    Duration all{};
    int attempts = 1;
    while (all + retryDelay(rules, attempts, 0.5) <= rules.givesUp)
        all += retryDelay(rules, attempts++, 0.5);

    EXPECT_GE(attempts, 12);
    EXPECT_LE(attempts, 20);
    EXPECT_GT(all, 18h);
}

TEST(WebhookSignature, isOfTheTimeAndTheBody)
{
    StoredWebhook const webhook{.secret = "whsec_a"};

    std::string const text = webhookSignature(webhook, "{}", someDay + 500ms);

    EXPECT_EQ(text, "t=1795219200,v1=" + signatureOf("1795219200.{}", "whsec_a"));
    EXPECT_NE(text, webhookSignature(webhook, "{} ", someDay));
    EXPECT_NE(text, webhookSignature(webhook, "{}", someDay + 2s));
}

TEST(WebhookSignature, isOfBothSecretsWhileBothAreValid)
{
    StoredWebhook const webhook{.secret = "new", .oldSecret = "old", .oldUntil = someDay + 10s};

    EXPECT_NE(webhookSignature(webhook, "{}", someDay).find(",v1=" + signatureOf("1795219200.{}", "old")),
              std::string::npos);
    EXPECT_EQ(webhookSignature(webhook, "{}", someDay + 10s),
              "t=1795219210,v1=" + signatureOf("1795219210.{}", "new"));
}

} // namespace
} // namespace zelvo::service
