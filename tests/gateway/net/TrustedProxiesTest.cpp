#include "ZelvoGateway/net/TrustedProxies.h"

#include <gtest/gtest.h>

#include <string>

namespace zelvo::service {
namespace {

namespace ip = boost::asio::ip;

class TrustedProxiesTest : public testing::Test {
protected:
    static std::vector<AddressRange> ranges(std::vector<std::string> const& texts)
    {
        std::vector<AddressRange> all;
        for (std::string const& text : texts)
            all.push_back(addressRangeIn(text).value());
        return all;
    }
    ForwardedCaller callerOf(ForwardedLines const& lines) const { return proxies.callerOf(proxy, lines); }
    /// The caller's address by "X-Forwarded-For"; "refused" if it can't be read.
    std::string byAddresses(std::vector<std::string_view> const& lines) const
    {
        return addressBy({.forwarded = {}, .forwardedFor = lines, .forwardedProto = {}});
    }
    std::string byForwarded(std::vector<std::string_view> const& lines) const
    {
        return addressBy({.forwarded = lines, .forwardedFor = {}, .forwardedProto = {}});
    }
    std::string addressBy(ForwardedLines const& lines) const
    {
        try {
            return callerOf(lines).address.to_string();
        } catch (ForwardedError const&) {
            return "refused";
        }
    }

    TrustedProxies proxies{ranges({"10.0.0.0/8", "192.0.2.7", "fd00::/8"})};
    ip::address proxy = ip::make_address("10.0.0.1");
};

TEST_F(TrustedProxiesTest, areFoundByAddressAndRange)
{
    for (char const* const text : {"10.0.0.1", "10.255.0.1", "192.0.2.7", "fd12::1", "::ffff:10.1.2.3"})
        EXPECT_TRUE(proxies.contains(ip::make_address(text))) << text;
    for (char const* const text : {"11.0.0.1", "192.0.2.8", "fe80::1", "::1", "127.0.0.1", "::ffff:11.0.0.1"})
        EXPECT_FALSE(proxies.contains(ip::make_address(text))) << text;
    EXPECT_FALSE(TrustedProxies({}).contains(proxy));
}

TEST_F(TrustedProxiesTest, nameTheFirstCallerFromTheEndThatIsNoProxy)
{
    EXPECT_EQ(byAddresses({"198.51.100.1"}), "198.51.100.1");
    EXPECT_EQ(byAddresses({"198.51.100.1, 10.0.0.2, 192.0.2.7"}), "198.51.100.1");
    EXPECT_EQ(byAddresses({"198.51.100.1", "10.0.0.2", "[fd00::1]:443"}), "198.51.100.1");
    EXPECT_EQ(byForwarded({"for=198.51.100.1, for=10.0.0.2", R"(for="[fd00::1]")"}), "198.51.100.1");
}

// What a caller sends itself is in front of what the proxies add.
TEST_F(TrustedProxiesTest, passOverWhatTheCallerClaims)
{
    EXPECT_EQ(byAddresses({"127.0.0.1, 203.0.113.9"}), "203.0.113.9");
    EXPECT_EQ(byAddresses({"10.0.0.9, 203.0.113.9, 10.0.0.2"}), "203.0.113.9");
    EXPECT_EQ(byAddresses({"not an address, , ::::, 203.0.113.9"}), "203.0.113.9");
    EXPECT_EQ(byForwarded({"for=127.0.0.1;proto=https, for=203.0.113.9"}), "203.0.113.9");
    EXPECT_EQ(callerOf({.forwarded = {"for=127.0.0.1;proto=https, for=203.0.113.9"},
                        .forwardedFor = {},
                        .forwardedProto = {}})
                  .isSecure,
              std::nullopt);
}

TEST_F(TrustedProxiesTest, areTheCallersIfNobodyElseIs)
{
    EXPECT_EQ(addressBy({}), "10.0.0.1");
    EXPECT_EQ(byAddresses({""}), "10.0.0.1");
    EXPECT_EQ(byAddresses({"10.0.0.3, 10.0.0.2"}), "10.0.0.3");
    EXPECT_EQ(byForwarded({""}), "10.0.0.1");
}

TEST_F(TrustedProxiesTest, standInForCallersThatTheyHide)
{
    EXPECT_EQ(byAddresses({"203.0.113.9, unknown"}), "10.0.0.1");
    EXPECT_EQ(byForwarded({"for=203.0.113.9, for=_hidden, for=10.0.0.2"}), "10.0.0.2");
    EXPECT_EQ(byForwarded({"by=10.0.0.1"}), "10.0.0.1");
}

TEST_F(TrustedProxiesTest, areRefusedWhenTheySendNonsense)
{
    EXPECT_EQ(byAddresses({"203.0.113.9, nonsense"}), "refused");
    EXPECT_EQ(byAddresses({"203.0.113.9,"}), "refused");
    EXPECT_EQ(byForwarded({"for=203.0.113.9", "nonsense"}), "refused");
    EXPECT_EQ(byForwarded({R"(for=203.0.113.9;x=", for="[fd00::1]")"}), "refused");
}

TEST_F(TrustedProxiesTest, mayNotBeEndless)
{
    std::string most = "203.0.113.9";
    std::string standard = "for=203.0.113.9";
    for (int i = 0; i < 31; ++i) {
        most += ",10.0.0.2";
        standard += ",for=10.0.0.2";
    }
    EXPECT_EQ(byAddresses({most}), "203.0.113.9");
    EXPECT_EQ(byForwarded({standard}), "203.0.113.9");
    most += ",10.0.0.2";
    standard += ",for=10.0.0.2";
    EXPECT_EQ(byAddresses({most}), "refused");
    EXPECT_EQ(byForwarded({standard}), "refused");
    std::string claims;
    for (int i = 0; i < 5000; ++i)
        claims += "1.1.1.1,";
    EXPECT_EQ(byAddresses({claims + "203.0.113.9"}), "203.0.113.9");
}

TEST_F(TrustedProxiesTest, sayWhetherTheCallerUsedTls)
{
    auto const isSecure = [&](std::vector<std::string_view> addresses,
                              std::vector<std::string_view> protocols) {
        return callerOf({.forwarded = {}, .forwardedFor = addresses, .forwardedProto = protocols}).isSecure;
    };
    EXPECT_EQ(isSecure({"203.0.113.9"}, {"https"}), true);
    EXPECT_EQ(isSecure({"203.0.113.9, 10.0.0.2"}, {"https"}), true);
    EXPECT_EQ(isSecure({"203.0.113.9, 10.0.0.2"}, {"https, http"}), true);
    EXPECT_EQ(isSecure({"1.1.1.1, 203.0.113.9, 10.0.0.2"}, {"https", "http, https"}), false);
    EXPECT_EQ(isSecure({}, {"http"}), false);
    EXPECT_EQ(isSecure({"203.0.113.9"}, {}), std::nullopt);
    EXPECT_THROW(isSecure({"203.0.113.9"}, {"https, http"}), ForwardedError);
    EXPECT_THROW(isSecure({"203.0.113.9"}, {"gopher"}), ForwardedError);
}

TEST_F(TrustedProxiesTest, areRefusedWhenTheirHeadersContradictEachOther)
{
    EXPECT_EQ(addressBy({.forwarded = {"for=203.0.113.9;proto=https"},
                         .forwardedFor = {"203.0.113.9"},
                         .forwardedProto = {"https"}}),
              "203.0.113.9");
    EXPECT_EQ(
        addressBy({.forwarded = {"for=127.0.0.1"}, .forwardedFor = {"203.0.113.9"}, .forwardedProto = {}}),
        "refused");
    EXPECT_EQ(addressBy({.forwarded = {"for=203.0.113.9;proto=https"},
                         .forwardedFor = {"203.0.113.9"},
                         .forwardedProto = {"http"}}),
              "refused");
    EXPECT_EQ(
        addressBy({.forwarded = {"for=_hidden"}, .forwardedFor = {"203.0.113.9"}, .forwardedProto = {}}),
        "refused");
}

TEST(AddressRange, isReadFromAddressesAndPrefixes)
{
    EXPECT_EQ(addressRangeIn("10.0.0.7")->prefix, 32);
    EXPECT_EQ(addressRangeIn("fd00::1")->prefix, 128);
    EXPECT_EQ(addressRangeIn("::ffff:10.0.0.0/104"), addressRangeIn("10.0.0.0/8"));
    EXPECT_TRUE(addressRangeIn("10.1.2.3/8")->contains(ip::make_address("10.9.9.9")));
    EXPECT_TRUE(addressRangeIn("fe80::/10")->contains(ip::make_address("fe80::1%1")));
    for (std::string_view const text :
         {"", "/", "10.0.0.0/", "10.0.0.0/33", "10.0.0.0/-1", "10.0.0.0/8 ", "10.0.0", "fd00::/129",
          "::ffff:10.0.0.0/95", "name.example", "fe80::1%1"})
        EXPECT_FALSE(addressRangeIn(text)) << text;
}

} // namespace
} // namespace zelvo::service
