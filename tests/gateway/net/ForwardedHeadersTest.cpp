#include "ZelvoGateway/net/ForwardedHeaders.h"

#include <gmock/gmock.h>

#include <string>

namespace zelvo::service {
namespace {

using testing::ElementsAre;
namespace ip = boost::asio::ip;

ForwardedHop hop(std::string const& address, std::optional<bool> isSecure = std::nullopt)
{
    return {.from = ip::make_address(address), .isSecure = isSecure};
}

ForwardedHop hidden(std::optional<bool> isSecure = std::nullopt)
{
    return {.from = std::nullopt, .isSecure = isSecure};
}

TEST(ForwardedHeaders, haveTheStepsInTheirOrder)
{
    auto const hops =
        forwardedHopsIn(R"(for=192.0.2.43, For="[2001:db8:cafe::17]:4711";proto=https;by=203.0.113.43)");

    ASSERT_TRUE(hops);
    EXPECT_THAT(*hops, ElementsAre(hop("192.0.2.43"), hop("2001:db8:cafe::17", true)));
}

TEST(ForwardedHeaders, mayHideNamesAndPorts)
{
    auto const hops = forwardedHopsIn(
        R"(for=unknown;proto=http,for="_gazonk", for="unknown:_port",proto=https,FOR="192.0.2.1:_obf")");

    ASSERT_TRUE(hops);
    EXPECT_THAT(*hops, ElementsAre(hidden(false), hidden(), hidden(), hidden(true), hop("192.0.2.1")));
}

TEST(ForwardedHeaders, mayQuoteCommasAndQuotationMarks)
{
    auto const hops = forwardedHopsIn(R"(for=192.0.2.1;secret="a, for=192.0.2.2; \"b\\", for=192.0.2.3)");

    ASSERT_TRUE(hops);
    EXPECT_THAT(*hops, ElementsAre(hop("192.0.2.1"), hop("192.0.2.3")));
}

TEST(ForwardedHeaders, countMappedAddressesAsIPv4)
{
    auto const hops = forwardedHopsIn(R"(for="[::ffff:192.0.2.1]")");

    ASSERT_TRUE(hops);
    EXPECT_THAT(*hops, ElementsAre(hop("192.0.2.1")));
}

TEST(ForwardedHeaders, areRefusedWhereTheyBreakTheStandard)
{
    for (std::string const text : {"",
                                   " ",
                                   ",",
                                   "for",
                                   "for=",
                                   "=1",
                                   "for=192.0.2.1,",
                                   "for=192.0.2.1,,for=192.0.2.2",
                                   "for=192.0.2.1;for=192.0.2.2",
                                   "for=192.0.2.1;FOR=192.0.2.2",
                                   "for=192.0.2.256",
                                   "for=2001:db8::1",
                                   R"(for="2001:db8::1")",
                                   R"(for="[192.0.2.1]")",
                                   R"(for="[2001:db8::1")",
                                   R"(for="[fe80::1%1]")",
                                   R"(for="[2001:db8::1]x")",
                                   R"(for="192.0.2.1:123456")",
                                   R"(for="192.0.2.1:")",
                                   R"(for="192.0.2.1)",
                                   R"(for="192.0.2.1\)",
                                   R"(for="")",
                                   "for=_",
                                   "for=nowhere",
                                   "proto=gopher",
                                   "for=192.0.2.1 x",
                                   "for =192.0.2.1",
                                   "for=192.0.2.1;",
                                   R"(x=", for="[2001:db8::1]")",
                                   "f\xc3\xbcr=192.0.2.1"})
        EXPECT_FALSE(forwardedHopsIn(text)) << text;
    EXPECT_FALSE(forwardedHopsIn(std::string("for=192.0.2.1\0", 14)));
}

TEST(ForwardedHeaders, haveAddressesInEachUsualForm)
{
    for (std::string const text : {"192.0.2.1", "192.0.2.1:80", "::ffff:192.0.2.1", "[::ffff:192.0.2.1]:80"})
        EXPECT_EQ(forwardedAddressIn(text).address, ip::make_address("192.0.2.1")) << text;
    for (std::string const text : {"2001:db8::1", "[2001:db8::1]", "[2001:DB8:0::1]:65535"})
        EXPECT_EQ(forwardedAddressIn(text).address, ip::make_address("2001:db8::1")) << text;
    EXPECT_TRUE(forwardedAddressIn("Unknown").isValid);
    EXPECT_FALSE(forwardedAddressIn("Unknown").address);
    for (std::string const text :
         {"", "name.example", "_hidden", "192.0.2", "0300.0.2.1", "192.0.2.1:", "192.0.2.1 80",
          "fe80::1%eth0", "[192.0.2.1]", "[]", "[", "]", ":::", "192.0.2.1/24", "\"192.0.2.1\""})
        EXPECT_FALSE(forwardedAddressIn(text).isValid) << text;
}

TEST(ForwardedHeaders, knowTheProtocolsOfHttpAndWebSockets)
{
    EXPECT_EQ(forwardedSecurityIn("https"), true);
    EXPECT_EQ(forwardedSecurityIn("WSS"), true);
    EXPECT_EQ(forwardedSecurityIn("HTTP"), false);
    EXPECT_EQ(forwardedSecurityIn("ws"), false);
    EXPECT_EQ(forwardedSecurityIn("https, http"), std::nullopt);
    EXPECT_EQ(forwardedSecurityIn(""), std::nullopt);
}

TEST(ForwardedHeaders, areSplitAtCommas)
{
    EXPECT_THAT(listEntriesIn(" a ,\tb,,c"), ElementsAre("a", "b", "", "c"));
    EXPECT_THAT(listEntriesIn(""), ElementsAre(""));
}

} // namespace
} // namespace zelvo::service
