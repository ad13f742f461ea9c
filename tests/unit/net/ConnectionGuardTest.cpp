#include "platform/portable/net/ConnectionGuard.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>

#include <algorithm>

namespace zelvo {

namespace {

namespace ip = boost::asio::ip;

constexpr char const* remote = "93.184.216.34";

TEST(ConnectionGuard, knowsThePublicAddresses)
{
    for (char const* const text :
         {"93.184.216.34", "8.8.8.8", "172.32.0.1", "100.128.0.1", "2606:2800:220:1::1", "::ffff:8.8.8.8",
          "64:ff9b::808:808", "2002:808:808::1"})
        EXPECT_TRUE(isPublicAddress(ip::make_address(text))) << text;
    for (char const* const text : {"127.0.0.1",
                                   "127.1.2.3",
                                   "0.0.0.0",
                                   "0.1.2.3",
                                   "10.0.0.1",
                                   "172.16.0.1",
                                   "172.31.255.255",
                                   "192.168.1.1",
                                   "169.254.169.254",
                                   "100.64.0.1",
                                   "192.0.0.1",
                                   "198.18.0.1",
                                   "224.0.0.1",
                                   "255.255.255.255",
                                   "::",
                                   "::1",
                                   "fe80::1",
                                   "fc00::1",
                                   "fd12::1",
                                   "ff02::1",
                                   "2001:db8::1",
                                   "::ffff:127.0.0.1",
                                   "::ffff:192.168.0.1",
                                   "::127.0.0.1",
                                   "64:ff9b::7f00:1",
                                   "::ffff:0:127.0.0.1",
                                   "2002:7f00:1::1",
                                   "2002:c0a8:1::1"})
        EXPECT_FALSE(isPublicAddress(ip::make_address(text))) << text;
}

TEST(ConnectionGuard, allowsPublicAddressesAndTheGateways)
{
    ConnectionGuard const guard("192.168.7.7");

    EXPECT_TRUE(guard.allows(ip::make_address(remote)));
    EXPECT_TRUE(guard.allows(ip::make_address("192.168.7.7")));
    EXPECT_TRUE(guard.allows(ip::make_address("::ffff:192.168.7.7")));
    EXPECT_FALSE(guard.allows(ip::make_address("192.168.7.8")));
    EXPECT_FALSE(guard.allows(ip::make_address("127.0.0.1")));
}

TEST(ConnectionGuard, allowsAllToAGatewayOnThisMachine)
{
    for (char const* const gateway : {"127.0.0.1", "::1", "::ffff:127.0.0.1"}) {
        EXPECT_TRUE(ConnectionGuard(gateway).allows(ip::make_address("127.0.0.1")));
        EXPECT_TRUE(ConnectionGuard(gateway).allows(ip::make_address("10.0.0.1")));
    }
}

TEST(ConnectionGuard, allowsOnlyPublicAddressesWhenTheGatewaysIsNotKnown)
{
    for (char const* const gateway : {"", "nonsense", "localhost"}) {
        EXPECT_FALSE(ConnectionGuard(gateway).allows(ip::make_address("127.0.0.1"))) << gateway;
        EXPECT_TRUE(ConnectionGuard(gateway).allows(ip::make_address(remote))) << gateway;
    }
}

TEST(ConnectionGuard, refusesEveryAddressOfThisMachine)
{
    ConnectionGuard const guard(remote);
    ifaddrs* all = nullptr;
    ASSERT_EQ(::getifaddrs(&all), 0);
    int seen = 0;
    for (ifaddrs const* each = all; each; each = each->ifa_next)
        if (each->ifa_addr &&
            (each->ifa_addr->sa_family == AF_INET || each->ifa_addr->sa_family == AF_INET6)) {
            EXPECT_FALSE(guard.allows(*each->ifa_addr)) << each->ifa_name;
            ++seen;
        }
    ::freeifaddrs(all);
    EXPECT_GT(seen, 0);
}

std::optional<std::vector<OwnNetwork>> publicNetworks()
{
    return std::vector<OwnNetwork>{{.address = ip::make_address("93.184.216.10"), .prefix = 26},
                                   {.address = ip::make_address("2606:2800:220:1::5"), .prefix = 63},
                                   {.address = ip::make_address("8.8.8.8")}};
}

// A router or camera beside this machine may have a public address as well.
TEST(ConnectionGuard, refusesTheNetworksOfThisMachine)
{
    ConnectionGuard const guard("93.184.216.20", &publicNetworks);

    for (char const* const near :
         {"93.184.216.10", "93.184.216.1", "93.184.216.63", "::ffff:93.184.216.1", "64:ff9b::5db8:d801",
          "2606:2800:220:1::1", "2606:2800:220:0:ffff::1", "8.8.8.8"})
        EXPECT_FALSE(guard.allows(ip::make_address(near))) << near;
    for (char const* const far :
         {"93.184.216.64", "93.184.215.10", "2606:2800:220:2::1", "8.8.8.9", "93.184.216.20"})
        EXPECT_TRUE(guard.allows(ip::make_address(far))) << far;
}

TEST(ConnectionGuard, refusesAllWhileTheNetworksAreNotKnown)
{
    ConnectionGuard const guard(remote, [] { return std::optional<std::vector<OwnNetwork>>(); });

    EXPECT_FALSE(guard.allows(ip::make_address("8.8.8.8")));
    EXPECT_TRUE(guard.allows(ip::make_address(remote)));
}

TEST(ConnectionGuard, knowsTheLoopbackNetworkWithItsPrefix)
{
    auto const all = ownNetworks();

    ASSERT_TRUE(all);
    EXPECT_TRUE(std::ranges::any_of(
        *all, [](OwnNetwork const& network) { return network.contains(ip::make_address("127.9.9.9")); }));
}

// A proxy looks names up by itself: "localtest.me" is 127.0.0.1.
TEST(ConnectionGuard, allowsTheGatewaysOwnHostOnlyThroughAProxy)
{
    ConnectionGuard const guard("Gateway.example.org");

    for (char const* const host : {"gateway.example.org", "GATEWAY.example.org."})
        EXPECT_TRUE(guard.allowsHost(host)) << host;
    EXPECT_TRUE(ConnectionGuard("2606:2800:220:1::1").allowsHost("[2606:2800:220:1::1]"));
    for (char const* const host :
         {"", "upload.example.org", "93.184.216.34", "[2606:2800:220:1::1]", "localhost", "a.localhost",
          "127.0.0.1", "10.0.0.1", "[::1]", "localtest.me"}) {
        EXPECT_FALSE(guard.allowsHost(host)) << host;
        EXPECT_FALSE(ConnectionGuard("").allowsHost(host)) << host;
    }
}

} // namespace

} // namespace zelvo
