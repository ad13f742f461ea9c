#include "ZelvoGateway/http/RequestLimits.h"

#include "ZelvoGateway/http/HttpError.h"
#include "gateway/support/Connected.h"
#include "gateway/support/Scraped.h"

#include <gtest/gtest.h>

#include <thread>

namespace zelvo::service {
namespace {

using boost::asio::ip::make_address;

/// The limit that refuses; nullopt if nothing does.
template <class Call>
std::optional<Refusal> limitOf(Call const& call)
{
    try {
        call();
        return std::nullopt;
    } catch (HttpError const& error) {
        EXPECT_EQ(error.status, 429);
        return error.limit;
    }
}

TEST(RequestLimits, boundAnAddressButNotThisComputer)
{
    SteppedClock clock;
    RateRules const rules{.addressConnections = 5};
    RequestLimits limits(rules, clock);

    for (int i = 0; i < 5; ++i)
        limits.admit(make_address("198.51.100.7"));
    EXPECT_EQ(limitOf([&] { limits.admit(make_address("198.51.100.7")); }), Refusal::addressRate);
    EXPECT_EQ(limitOf([&] { limits.admit(make_address("2001:db8::7")); }), std::nullopt);
    for (int i = 0; i < 100; ++i)
        for (char const* const local : {"127.0.0.1", "::1", "127.0.0.2"})
            EXPECT_EQ(limitOf([&] { limits.admit(make_address(local)); }), std::nullopt);

    clock.advance(12s);
    EXPECT_EQ(limitOf([&] { limits.admit(make_address("198.51.100.7")); }), std::nullopt);
}

TEST(RequestLimits, boundWhatAnAddressHasOpen)
{
    SteppedClock clock;
    RateRules const rules{.addressConnectionsAtOnce = 1};
    RequestLimits limits(rules, clock);

    auto lease = limits.admit(make_address("198.51.100.7"));
    EXPECT_EQ(limitOf([&] { limits.admit(make_address("198.51.100.7")); }), Refusal::addressConnections);
    lease.reset();

    EXPECT_EQ(limitOf([&] { limits.admit(make_address("198.51.100.7")); }), std::nullopt);
}

TEST(RequestLimits, letTenThousandMachinesOfOneAddressReconnectAtOnce)
{
    SteppedClock const clock;
    Settings const settings;
    RequestLimits limits(settings.rates, clock);
    std::vector<RequestLimits::Lease> open;

    for (int i = 0; i < 10'000; ++i)
        open.push_back(limits.admit(make_address("198.51.100.7"))); // Throws if it refuses one.

    EXPECT_EQ(open.size(), 10'000U);
}

TEST(KeyLimit, refusesTooManyRequestsInASecond)
{
    Gateway gateway([](Settings& settings) {
        withMetrics(settings);
        settings.rates.keyRequests = 3;
    });
    auto const status = [&] { return gateway.platform("GET", "/v1/connections").status; };
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(status(), 200);

    Answer const answer = gateway.platform("GET", "/v1/connections");

    EXPECT_EQ(answer.status, 429);
    EXPECT_EQ(answer.errorCode(), "rate_limited");
    EXPECT_EQ(answer.headers.at("retry-after"), "1");
    EXPECT_EQ(refused(gateway, "key_rate"), 1);
    EXPECT_EQ(gateway.call("GET", "/healthz").status, 200);
    gateway.clock.advance(1s);
    EXPECT_EQ(status(), 200);
}

TEST(KeyLimit, refusesTooManyRequestsAtOnce)
{
    Connected on([](Settings& settings) {
        withMetrics(settings);
        settings.rates.keyRequestsAtOnce = 1;
    });
    on.machine.onFrame([](json::object const&) { return std::nullopt; }); // Never answers.
    std::thread waiting([&] { on.gateway.command(on.linked.connectionId, "cursor.position"); });
    EXPECT_TRUE(becomes([&] { return !on.machine.framesOf("cursor.position").empty(); }));

    EXPECT_EQ(on.gateway.platform("GET", "/v1/connections").status, 429);

    EXPECT_EQ(refused(on.gateway, "key_requests"), 1);
    on.machine.drop();
    waiting.join();
    EXPECT_TRUE(becomes([&] { return on.gateway.platform("GET", "/v1/connections").status == 200; }));
}

/// Behind a proxy on this computer.
class AddressLimit : public testing::Test {
protected:
    explicit AddressLimit()
        : gateway([](Settings& settings) {
              withMetrics(settings);
              settings.trustedProxies.push_back(*addressRangeIn("127.0.0.1"));
              settings.rates.addressConnections = 2;
          })
    {
    }
    int statusFor(std::string const& address)
    {
        return gateway.call("GET", "/healthz", "", {{"X-Forwarded-For", address}}).status;
    }

    Gateway gateway;
};

TEST_F(AddressLimit, judgesByTheForwardedAddress)
{
    EXPECT_EQ(statusFor("198.51.100.7"), 200);
    EXPECT_EQ(statusFor("198.51.100.7"), 200);
    EXPECT_EQ(statusFor("198.51.100.7"), 429);
    EXPECT_EQ(statusFor("198.51.100.8"), 200);
    EXPECT_EQ(statusFor("203.0.113.1, 198.51.100.7"), 429); // The caller wrote the first one.
    EXPECT_EQ(refused(gateway, "address_rate"), 2);
    gateway.clock.advance(30s);
    EXPECT_EQ(statusFor("198.51.100.7"), 200);
}

} // namespace
} // namespace zelvo::service
