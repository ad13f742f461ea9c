#include "gateway/GatewayAddress.h"

#include "fakes/FakeDesktop.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(GatewayAddress, everySchemeHasItsHttpForm)
{
    EXPECT_EQ(GatewayAddress::http("wss://g.example"), "https://g.example");
    EXPECT_EQ(GatewayAddress::http("ws://g.example:8080"), "http://g.example:8080");
    EXPECT_EQ(GatewayAddress::http("https://g.example"), "https://g.example");
    EXPECT_EQ(GatewayAddress::http("http://g.example"), "http://g.example");
    EXPECT_EQ(GatewayAddress::http("WSS://g.example"), "https://g.example");
}

TEST(GatewayAddress, otherOrMissingSchemeHasNone)
{
    EXPECT_EQ(GatewayAddress::http("ftp://g.example"), std::nullopt);
    EXPECT_EQ(GatewayAddress::http("g.example"), std::nullopt);
    EXPECT_EQ(GatewayAddress::http("/path"), std::nullopt);
    EXPECT_EQ(GatewayAddress::http("http://["), std::nullopt);
    EXPECT_EQ(GatewayAddress::http(""), std::nullopt);
}

TEST(GatewayAddress, exactlyOneTrailingSlashGoes)
{
    EXPECT_EQ(GatewayAddress::http("wss://g.example/"), "https://g.example");
    EXPECT_EQ(GatewayAddress::http("wss://g.example/base/"), "https://g.example/base");
    EXPECT_EQ(GatewayAddress::http("wss://g.example/base//"), "https://g.example/base/");
}

TEST(GatewayAddress, configuredGatewayElseTheBuiltInOne)
{
    FakeInformationDictionary info;
    EXPECT_EQ(GatewayAddress::configuredGateway(info), GatewayAddress::builtInGateway);
    EXPECT_EQ(GatewayAddress::defaultHttpBase(info), GatewayAddress::builtInHttpBase);

    info.texts["ZelvoGatewayURL"] = "ws://127.0.0.1:9/";
    EXPECT_EQ(GatewayAddress::configuredGateway(info), "ws://127.0.0.1:9/");
    EXPECT_EQ(GatewayAddress::defaultHttpBase(info), "http://127.0.0.1:9");

    info.texts["ZelvoGatewayURL"] = "no address at all [";
    EXPECT_EQ(GatewayAddress::configuredGateway(info), GatewayAddress::builtInGateway);

    info.texts["ZelvoGatewayURL"] = "ftp://g.example";
    EXPECT_EQ(GatewayAddress::defaultHttpBase(info), GatewayAddress::builtInHttpBase);
}

TEST(GatewayAddress, appendsWithOneSlash)
{
    EXPECT_EQ(GatewayAddress::appending("wss://g", "machines/connect"), "wss://g/machines/connect");
    EXPECT_EQ(GatewayAddress::appending("wss://g/a/", "machines/connect"), "wss://g/a/machines/connect");
}

TEST(GatewayAddress, appendsToThePathBeforeQueryAndFragment)
{
    EXPECT_EQ(GatewayAddress::appending("wss://g?tenant=a", "machines/connect"),
              "wss://g/machines/connect?tenant=a");
    EXPECT_EQ(GatewayAddress::appending("wss://g/base/?path=/x/", "machines/connect"),
              "wss://g/base/machines/connect?path=/x/");
    EXPECT_EQ(GatewayAddress::appending("wss://g/base#part/", "machines/connect"),
              "wss://g/base/machines/connect#part/");
    EXPECT_EQ(GatewayAddress::appending("wss://g/base?a=b#c?d", "machines/connect"),
              "wss://g/base/machines/connect?a=b#c?d");
}

TEST(GatewayAddress, hostWithoutBrackets)
{
    EXPECT_EQ(GatewayAddress::host("ws://[::1]:80/x"), "::1");
    EXPECT_EQ(GatewayAddress::host("wss://g.example/x"), "g.example");
    EXPECT_EQ(GatewayAddress::host("nothing"), "");
}

} // namespace
} // namespace zelvo
