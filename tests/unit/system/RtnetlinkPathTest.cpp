#include "platform/linux/system/RtnetlinkPath.h"

#include "platform/linux/system/RouteMessages.h"

#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cstring>

namespace zelvo {

namespace {

using Bytes = std::vector<unsigned char>;

template <class Payload>
Bytes message(std::uint16_t type, std::uint32_t sequence, Payload const& payload, std::uint16_t flags = 0)
{
    nlmsghdr header{};
    header.nlmsg_len = sizeof header + sizeof payload;
    header.nlmsg_type = type;
    header.nlmsg_flags = flags;
    header.nlmsg_seq = sequence;
    Bytes bytes(NLMSG_ALIGN(header.nlmsg_len));
    std::memcpy(bytes.data(), &header, sizeof header);
    std::memcpy(bytes.data() + sizeof header, &payload, sizeof payload);
    return bytes;
}

rtmsg defaultRoute(unsigned char family = AF_INET)
{
    rtmsg route{};
    route.rtm_family = family;
    route.rtm_type = RTN_UNICAST;
    route.rtm_table = RT_TABLE_MAIN;
    return route;
}

Bytes operator+(Bytes left, Bytes const& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

bool isDefault(rtmsg const& route)
{
    return routes::parse(message(RTM_NEWROUTE, 7, route), 7).hasDefaultRoute;
}

TEST(RouteMessages, findsADefaultRouteOfEitherFamily)
{
    EXPECT_TRUE(isDefault(defaultRoute(AF_INET)));
    EXPECT_TRUE(isDefault(defaultRoute(AF_INET6)));
    EXPECT_FALSE(isDefault(defaultRoute(AF_MPLS)));
}

TEST(RouteMessages, passesOverRoutesThatLeadNowhere)
{
    rtmsg route = defaultRoute();
    route.rtm_dst_len = 24;
    EXPECT_FALSE(isDefault(route));
    route = defaultRoute(AF_INET6);
    route.rtm_type = RTN_UNREACHABLE; // Every host has such a route.
    EXPECT_FALSE(isDefault(route));
    route = defaultRoute();
    route.rtm_table = RT_TABLE_LOCAL;
    EXPECT_FALSE(isDefault(route));
    route = defaultRoute();
    route.rtm_flags = RTNH_F_LINKDOWN;
    EXPECT_FALSE(isDefault(route));
}

TEST(RouteMessages, readsAnAnswerOfSeveralMessages)
{
    rtmsg lan = defaultRoute();
    lan.rtm_dst_len = 16;
    auto const bytes =
        message(RTM_NEWROUTE, 7, lan) + message(RTM_NEWROUTE, 7, defaultRoute()) + message(NLMSG_DONE, 7, 0);

    EXPECT_EQ(routes::parse(bytes, 7), (routes::Packet{.hasDefaultRoute = true, .isEnd = true}));
}

TEST(RouteMessages, distinguishesChangesFromAnswers)
{
    EXPECT_EQ(routes::parse(message(RTM_NEWROUTE, 0, defaultRoute()), 7), routes::Packet{.isChange = true});
    EXPECT_EQ(routes::parse(message(RTM_DELLINK, 0, ifinfomsg{}), 7), routes::Packet{.isChange = true});
    EXPECT_EQ(routes::parse(message(NLMSG_DONE, 6, 0), 7), routes::Packet{});
    EXPECT_EQ(routes::parse(message(NLMSG_ERROR, 7, nlmsgerr{}), 7), routes::Packet{.isEnd = true});
    EXPECT_EQ(routes::parse(message(NLMSG_DONE, 7, 0, NLM_F_DUMP_INTR), 7),
              (routes::Packet{.isEnd = true, .isInterrupted = true}));
}

TEST(RouteMessages, passesOverWhatIsCutShort)
{
    Bytes const whole = message(RTM_NEWROUTE, 7, defaultRoute()) + message(NLMSG_DONE, 7, 0);
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(routes::parse(std::span(whole).first(size), 7).isEnd) << size;
    Bytes lying = whole;
    lying[0] = 0; // A message of length 0.
    EXPECT_EQ(routes::parse(lying, 7), routes::Packet{});
}

TEST(RtnetlinkPath, knowsLoopbackHosts)
{
    for (char const* const host :
         {"localhost", "LOCALHOST", "a.localhost", "127.0.0.1", "127.9.8.7", "::1", "[::1]"})
        EXPECT_TRUE(RtnetlinkPath::isLoopback(host)) << host;
    for (char const* const host :
         {"", "gateway.example", "localhost.example", "128.0.0.1", "::2", "[fe80::1]", "127"})
        EXPECT_FALSE(RtnetlinkPath::isLoopback(host)) << host;
}

TEST(RtnetlinkPath, reportsALoopbackHostOnce)
{
    asio::io_context io;
    RtnetlinkPath path(io.get_executor());
    std::vector<bool> told;
    path.start("127.0.0.1", [&](bool satisfied) { told.push_back(satisfied); });
    EXPECT_TRUE(told.empty());

    io.run();

    EXPECT_EQ(told, std::vector<bool>{true});
}

TEST(RtnetlinkPath, reportsTheStateOfThisMachineSoon)
{
    asio::io_context io;
    RtnetlinkPath path(io.get_executor());
    int told = 0;
    path.start("gateway.example", [&](bool) {
        ++told;
        io.stop();
    });

    io.run_for(std::chrono::seconds(10));

    EXPECT_EQ(told, 1);
}

} // namespace

} // namespace zelvo
