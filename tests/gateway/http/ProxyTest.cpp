#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

/// Tests connect from 127.0.0.1.
class Proxy : public testing::Test {
protected:
    void start(std::vector<std::string> const& trusted, std::string const& publicUrl = {})
    {
        gateway.emplace([&](Settings& settings) {
            for (std::string const& text : trusted)
                settings.trustedProxies.push_back(addressRangeIn(text).value());
            settings.publicUrl = publicUrl;
            settings.wrongKeys.maxAttempts = 2;
        });
    }
    int withWrongKey(Headers headers) const
    {
        headers.emplace_back("Authorization", "Bearer zk_wrong");
        return gateway->call("GET", "/v1/connections", "", std::move(headers)).status;
    }
    int pageWith(Headers const& headers) const { return gateway->call("GET", "/", "", headers).status; }

    std::optional<Gateway> gateway;
};

TEST_F(Proxy, thatIsTrustedNamesWhoTriesKeys)
{
    start({"127.0.0.1"});
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(withWrongKey({{"X-Forwarded-For", "203.0.113.1"}}), 401);

    EXPECT_EQ(withWrongKey({{"X-Forwarded-For", "203.0.113.1"}}), 429);
    EXPECT_EQ(withWrongKey({{"X-Forwarded-For", "::ffff:203.0.113.1"}}), 429);
    EXPECT_EQ(withWrongKey({{"X-Forwarded-For", "203.0.113.2, 203.0.113.1"}}), 429);
    EXPECT_EQ(withWrongKey({{"Forwarded", "for=\"203.0.113.1:80\""}}), 429);
    EXPECT_EQ(withWrongKey({{"X-Forwarded-For", "203.0.113.2"}}), 401);
    EXPECT_EQ(withWrongKey({}), 401);
}

TEST_F(Proxy, thatIsNotTrustedIsTheCaller)
{
    start({"10.0.0.0/8"});
    EXPECT_EQ(withWrongKey({{"X-Forwarded-For", "203.0.113.1"}}), 401);
    EXPECT_EQ(withWrongKey({{"X-Forwarded-For", "nonsense"}}), 401);
    EXPECT_EQ(withWrongKey({{"Forwarded", "for=203.0.113.3"}}), 429);
}

TEST_F(Proxy, thatSendsNonsenseIsRefused)
{
    start({"127.0.0.0/8"});
    EXPECT_EQ(pageWith({{"X-Forwarded-For", "nonsense"}}), 400);
    EXPECT_EQ(pageWith({{"Forwarded", "for=203.0.113.1;for=203.0.113.2"}}), 400);
    EXPECT_EQ(pageWith({{"Forwarded", "for=203.0.113.1"}, {"X-Forwarded-For", "203.0.113.2"}}), 400);
    EXPECT_EQ(pageWith({{"Forwarded", "for=203.0.113.1"}, {"X-Forwarded-For", "203.0.113.1"}}), 200);
}

TEST_F(Proxy, saysWhetherThePageCameWithTls)
{
    start({"127.0.0.1"});
    std::string const host = "127.0.0.1:" + std::to_string(gateway->port());
    std::string const secure = "https://" + host;
    std::string const plain = "http://" + host;
    EXPECT_EQ(pageWith({{"Origin", secure}, {"X-Forwarded-Proto", "https"}}), 200);
    EXPECT_EQ(pageWith({{"Origin", plain}, {"X-Forwarded-Proto", "https"}}), 403);
    EXPECT_EQ(pageWith({{"Origin", secure}, {"X-Forwarded-Proto", "http"}}), 403);
    EXPECT_EQ(pageWith({{"Origin", plain}}), 200);
    EXPECT_EQ(pageWith({{"Origin", secure}}), 403);
}

TEST_F(Proxy, changesNothingAboutThePublicName)
{
    start({"127.0.0.1"}, "https://gateway.example");
    Headers const trusted{{"X-Forwarded-For", "203.0.113.1"}, {"X-Forwarded-Proto", "https"}};
    auto const with = [&](Headers const& more) {
        Headers all = trusted;
        all.insert(all.end(), more.begin(), more.end());
        return pageWith(all);
    };
    EXPECT_EQ(with({{"Host", "gateway.example"}, {"Origin", "https://gateway.example"}}), 200);
    EXPECT_EQ(with({{"Host", "gateway.example"}, {"Origin", "http://gateway.example"}}), 403);
    EXPECT_EQ(with({{"Host", "evil.example"}}), 403);
    EXPECT_EQ(with({{"Host", "evil.example"}, {"X-Forwarded-Host", "gateway.example"}}), 403);
    EXPECT_EQ(with({{"Host", "gateway.example"}, {"Origin", "https://evil.example"}}), 403);
}

} // namespace
} // namespace zelvo::service
