#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

std::string pathOf(std::string const& link)
{
    return link.substr(link.find("/open"));
}

TEST(Console, isLockedWithoutTheCookie)
{
    Gateway gateway;

    Answer const page = gateway.call("GET", "/");

    EXPECT_EQ(page.status, 401);
    EXPECT_NE(page.body.find("zelvo-gateway console-link"), std::string::npos);
    EXPECT_EQ(gateway.call("GET", "/console/machines").status, 401);
    EXPECT_EQ(gateway.call("GET", "/", "", {{"Cookie", "zelvo_console=" + std::string(67, 'a')}}).status,
              401);
    EXPECT_EQ(gateway.call("GET", "/", "", {{"Cookie", "zelvo_console="}}).status, 401);
    EXPECT_EQ(gateway.call("GET", "/", "", {{"Cookie", "other=" + gateway.apiKey()}}).status, 401);
}

TEST(Console, opensByALinkThatWorksOnce)
{
    Gateway gateway;
    std::string const link = gateway.running().newConsoleLink();
    EXPECT_TRUE(link.starts_with("http://127.0.0.1:" + std::to_string(gateway.port()) + "/open?code="));

    Answer const first = gateway.call("GET", pathOf(link));
    Answer const second = gateway.call("GET", pathOf(link));

    EXPECT_EQ(first.status, 200);
    std::string const cookie = first.headers.at("set-cookie");
    EXPECT_NE(cookie.find("; HttpOnly"), std::string::npos);
    EXPECT_NE(cookie.find("; SameSite=Strict"), std::string::npos);
    EXPECT_NE(cookie.find("; Path=/"), std::string::npos);
    EXPECT_EQ(cookie.find("Secure"), std::string::npos);
    EXPECT_EQ(first.body.find(gateway.apiKey()), std::string::npos);
    EXPECT_EQ(second.status, 401);
    EXPECT_FALSE(second.headers.contains("set-cookie"));
    Answer const page =
        gateway.call("GET", "/", "", {{"Cookie", "a=b; " + cookie.substr(0, cookie.find(';')) + "; c=d"}});
    EXPECT_EQ(page.status, 200);
    EXPECT_NE(page.body.find("console.js"), std::string::npos);
}

TEST(Console, refusesAWrongOrOldLink)
{
    Gateway gateway([](Settings& settings) { settings.consoleLinkLifetime = -1s; });

    EXPECT_EQ(gateway.call("GET", pathOf(gateway.running().newConsoleLink())).status, 401);
    EXPECT_EQ(gateway.call("GET", "/open?code=nonsense").status, 401);
    EXPECT_EQ(gateway.call("GET", "/open?code=").status, 401);
    EXPECT_EQ(gateway.call("GET", "/open").status, 401);
}

TEST(Console, sendsItsCookieOverTlsOnlyWhenThePublicAddressHasIt)
{
    Gateway gateway([](Settings& settings) { settings.publicUrl = "https://gateway.example.org"; });
    std::string const link = gateway.running().newConsoleLink();
    EXPECT_TRUE(link.starts_with("https://gateway.example.org/open?code="));

    Answer const answer = gateway.call("GET", pathOf(link), "", {{"Host", "gateway.example.org"}});

    EXPECT_NE(answer.headers.at("set-cookie").find("; Secure"), std::string::npos);
}

TEST(Console, answersToItsOwnNamesOnly)
{
    Gateway gateway([](Settings& settings) { settings.publicUrl = "http://gateway.example.org:81"; });
    auto const cookie = gateway.consoleCookie();
    std::string const port = std::to_string(gateway.port());
    auto const statusFor = [&](std::string const& host) {
        return gateway.call("GET", "/", "", {cookie, {"Host", host}}).status;
    };

    for (std::string const& host :
         {"127.0.0.1:" + port, "localhost:" + port, "LOCALHOST:" + port, "[::1]:" + port,
          std::string("localhost"), std::string("gateway.example.org:81")})
        EXPECT_EQ(statusFor(host), 200) << host;
    for (std::string const& host :
         {"evil.example:" + port, std::string("127.0.0.1.evil.example"),
          std::string("localhost.evil.example:") + port, std::string("gateway.example.org"),
          std::string("192.168.0.1"), std::string(""), std::string("[::1"), std::string("10.0.0.1:") + port})
        EXPECT_EQ(statusFor(host), 403) << host;
}

TEST(Console, refusesRequestsOfOtherSites)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    ASSERT_EQ(machine.status(), 101);
    auto const cookie = gateway.consoleCookie();
    std::string const path = "/v1/connections/" + linked.connectionId + "/commands";
    auto const statusWith = [&](Headers headers) {
        headers.push_back(cookie);
        return gateway.call("POST", path, R"({"method": "x"})", std::move(headers)).status;
    };

    EXPECT_EQ(statusWith({{"Origin", "http://evil.example"}}), 403);
    EXPECT_EQ(statusWith({{"Origin", "null"}}), 403);
    EXPECT_EQ(statusWith({{"Origin", "http://127.0.0.1:1"}}),
              403); // Another port of this host is another site.
    EXPECT_EQ(statusWith({{"Origin", "http://localhost:" + std::to_string(gateway.port())}}), 403);
    EXPECT_EQ(statusWith({}), 403);
    EXPECT_EQ(statusWith({{"Origin", gateway.origin()}, {"Sec-Fetch-Site", "same-site"}}), 403);
    EXPECT_EQ(statusWith({{"Origin", gateway.origin()}, {"Sec-Fetch-Site", "cross-site"}}), 403);
    EXPECT_TRUE(machine.frames().empty());
    EXPECT_EQ(statusWith({{"Origin", gateway.origin()}, {"Sec-Fetch-Site", "same-origin"}}), 200);
    EXPECT_EQ(machine.frames().size(), 1u);
}

TEST(Console, refusesForeignOriginsEverywhere)
{
    Gateway gateway;
    Headers const foreign = {{"Origin", "http://evil.example"}};

    for (std::string const target :
         {"/", "/page/console.js", "/open?code=x", "/console/machines", "/v1/connections"})
        EXPECT_EQ(gateway.platform("GET", target, "", foreign).status, 403) << target;
    EXPECT_EQ(gateway.call("POST", "/machines/link/resolve", "{}", foreign).status, 403);
}

TEST(Console, readsListsWithTheCookie)
{
    Gateway gateway;
    auto const cookie = gateway.consoleCookie();

    EXPECT_EQ(gateway.call("GET", "/v1/connections", "", {cookie, {"Sec-Fetch-Site", "same-origin"}}).status,
              200);
    EXPECT_EQ(gateway.call("GET", "/v1/connections", "", {cookie, {"Sec-Fetch-Site", "same-site"}}).status,
              403);
    EXPECT_EQ(gateway.call("GET", "/console/machines", "", {{"Authorization", "Bearer " + gateway.apiKey()}})
                  .status,
              401);
}

TEST(Console, listsMachinesByNameWithTheirActiveConnections)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    machine.heartbeat("Studio");
    auto const cookie = gateway.consoleCookie();
    auto const list = [&] {
        return gateway.call("GET", "/console/machines", "", {cookie}).json().at("machines").as_array();
    };

    ASSERT_TRUE(becomes([&] { return list().at(0).at("name").as_string() == "Studio"; }));
    EXPECT_TRUE(list().at(0).at("machine").at("online").as_bool());
    EXPECT_EQ(list().at(0).at("connections").at(0).at("id").as_string(), linked.connectionId);
    gateway.platform("DELETE", "/v1/connections/" + linked.connectionId);
    EXPECT_TRUE(list().at(0).at("connections").as_array().empty());
}

TEST(Console, neverAnswers408SinceABrowserWouldAskAgain)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    machine.onFrame([](json::object const&) { return errorOf("confirmation_timeout", "m"); });
    ASSERT_EQ(machine.status(), 101);

    Answer const answer =
        gateway.call("POST", "/v1/connections/" + linked.connectionId + "/commands", R"({"method": "x"})",
                     {gateway.consoleCookie(), {"Origin", gateway.origin()}});

    EXPECT_EQ(answer.status, 504);
    EXPECT_EQ(answer.errorCode(), "confirmation_timeout");
}

TEST(Console, allowsItsPagesNothingButTheirOwnFiles)
{
    Gateway gateway;
    auto const cookie = gateway.consoleCookie();
    std::string const link = gateway.running().newConsoleLink();

    for (Answer const& page : {gateway.call("GET", "/", "", {cookie}), gateway.call("GET", "/"),
                               gateway.call("GET", pathOf(link))}) {
        std::string const policy = page.headers.at("content-security-policy");
        EXPECT_NE(policy.find("default-src 'none'"), std::string::npos);
        EXPECT_NE(policy.find("frame-ancestors 'none'"), std::string::npos);
        EXPECT_EQ(policy.find("unsafe"), std::string::npos);
        EXPECT_EQ(page.headers.at("x-frame-options"), "DENY");
        EXPECT_EQ(page.headers.at("cache-control"), "no-store");
        EXPECT_EQ(page.headers.at("referrer-policy"), "no-referrer");
        EXPECT_EQ(page.body.find("<script>"), std::string::npos);
        EXPECT_EQ(page.body.find("<style"), std::string::npos);
        EXPECT_EQ(page.body.find(" style="), std::string::npos);
        EXPECT_EQ(page.body.find(" onclick="), std::string::npos);
    }
}

TEST(Console, hasTheFilesOfItsPage)
{
    Gateway gateway;

    for (std::string const name : {"console.css", "console.js", "screen.js", "input.js", "keys.js",
                                   "gateway.js", "recordings.js", "recordings.css"}) {
        Answer const file = gateway.call("GET", "/page/" + name);
        EXPECT_EQ(file.status, 200) << name;
        EXPECT_GT(file.body.size(), 500u) << name;
        EXPECT_EQ(file.headers.at("x-content-type-options"), "nosniff");
    }
    EXPECT_EQ(gateway.call("GET", "/page/other.js").status, 404);
    EXPECT_EQ(gateway.call("GET", "/page/..%2findex.html").status, 404);
}

} // namespace
} // namespace zelvo::service
