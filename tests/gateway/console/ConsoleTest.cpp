#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

Answer machines(Gateway const& gateway, Headers headers)
{
    return gateway.call("GET", "/console/machines", "", std::move(headers));
}

TEST(Console, hasPagesThatHoldNothingSecret)
{
    Gateway gateway;
    gateway.link();

    for (std::string const path : {"/", "/recordings", "/api-keys", "/open", "/locked"}) {
        Answer const page = gateway.call("GET", path);
        EXPECT_EQ(page.status, 200) << path;
        EXPECT_NE(page.body.find("<html"), std::string::npos) << path;
        EXPECT_EQ(page.body.find(gateway.apiKey()), std::string::npos) << path;
    }
    EXPECT_NE(gateway.call("GET", "/locked").body.find("zelvo-gateway console-link"), std::string::npos);
    EXPECT_EQ(machines(gateway, {}).status, 401);
}

TEST(Console, opensByALinkThatWorksOnce)
{
    Gateway gateway;
    std::string const link = gateway.running().newConsoleLink();
    EXPECT_TRUE(link.starts_with(gateway.origin() + "/open#"));

    Answer const first = gateway.enter(link, gateway.origin());
    Answer const second = gateway.enter(link, gateway.origin());

    EXPECT_EQ(first.status, 201);
    EXPECT_EQ(second.status, 401);
    std::string const secret(first.json().at("session").as_string());
    EXPECT_EQ(machines(gateway, {{"X-Zelvo-Console", secret}}).status, 200);
}

TEST(Console, refusesAWrongOrOldLink)
{
    Gateway gateway([](Settings& settings) { settings.consoleLinkLifetime = -1s; });

    EXPECT_EQ(gateway.enter(gateway.running().newConsoleLink(), gateway.origin()).status, 401);
    for (char const* const body : {R"({"code": "nonsense"})", R"({"code": ""})", R"({"code": 1})", "{}"})
        EXPECT_EQ(gateway.call("POST", "/console/session", body, {{"Origin", gateway.origin()}}).status, 401);
}

// A browser asks [::1] for "localhost" first, where a server of another user may listen on this port.
TEST(ConsoleSession, isForNoPageOfLocalhost)
{
    Gateway gateway;
    std::string const link = gateway.running().newConsoleLink();
    std::string const host = "localhost:" + std::to_string(gateway.port());
    std::string const body = R"({"code":")" + link.substr(link.find('#') + 1) + "\"}";

    Answer const refused =
        gateway.call("POST", "/console/session", body, {{"Host", host}, {"Origin", "http://" + host}});

    EXPECT_EQ(refused.status, 403);
    EXPECT_NE(refused.body.find(gateway.origin()), std::string::npos) << refused.body;
    EXPECT_EQ(gateway.enter(link, gateway.origin()).status, 201); // Its code is still good.
}

TEST(ConsoleSession, leadsFromLocalhostToTheAddress)
{
    Gateway gateway;
    std::string const port = std::to_string(gateway.port());

    for (std::string const path : {"/", "/recordings", "/open", "/locked"})
        for (std::string const& host : {"localhost:" + port, "LocalHost:" + port}) {
            Answer const answer = gateway.call("GET", path, "", {{"Host", host}});
            EXPECT_EQ(answer.status, 307) << path;
            EXPECT_EQ(answer.headers.at("location"), gateway.origin() + path);
        }
    EXPECT_EQ(gateway.platform("GET", "/v1/connections", "", {{"Host", "localhost:" + port}}).status, 200);
}

// Cookies are sent to every port of a host, so a server on another port would get them.
TEST(ConsoleSession, isInNoCookieAndNotTheApiKey)
{
    Gateway gateway;
    Answer const entered = gateway.enter(gateway.running().newConsoleLink(), gateway.origin());
    std::string const secret(entered.json().at("session").as_string());
    std::string const key = gateway.apiKey();

    EXPECT_NE(secret, key);
    EXPECT_GE(secret.size(), 64u);
    for (Answer const& answer : {entered, gateway.call("GET", "/"), gateway.call("GET", "/open"),
                                 machines(gateway, {{"X-Zelvo-Console", secret}})}) {
        EXPECT_FALSE(answer.headers.contains("set-cookie"));
        EXPECT_EQ(answer.body.find(key), std::string::npos);
    }
    for (std::string const& value : {secret, key}) {
        EXPECT_EQ(machines(gateway, {{"Cookie", "zelvo_console=" + value}}).status, 401);
        EXPECT_EQ(gateway.call("GET", "/console/machines?session=" + value).status, 401);
    }
    EXPECT_EQ(machines(gateway, {{"X-Zelvo-Console", key}}).status, 401);
    EXPECT_EQ(machines(gateway, {{"Authorization", "Bearer " + secret}}).status, 401);
    EXPECT_EQ(gateway.call("GET", "/v1/connections", "", {{"Authorization", "Bearer " + secret}}).status,
              401);
}

TEST(ConsoleSession, isNotStored)
{
    Gateway gateway;
    std::string const secret = gateway.consoleSession().second;

    for (auto const& entry : std::filesystem::directory_iterator(gateway.data()))
        if (entry.is_regular_file())
            EXPECT_EQ(gateway.readFile(entry.path().filename()).find(secret), std::string::npos) << entry;
    gateway.stop();
    gateway.start();

    EXPECT_EQ(machines(gateway, {{"X-Zelvo-Console", secret}}).status, 401);
}

TEST(ConsoleSession, servesTheOriginThatBeganItOnly)
{
    Gateway gateway([](Settings& settings) { settings.publicUrl = "https://gateway.example.org"; });
    auto const session = gateway.consoleSession();
    std::string const port = std::to_string(gateway.port());

    EXPECT_EQ(machines(gateway, {session}).status, 200);
    EXPECT_EQ(machines(gateway, {session, {"Origin", gateway.origin()}}).status, 200);
    for (std::string const& host : {"localhost:" + port, std::string("127.0.0.1:1"), std::string("127.0.0.1"),
                                    "[::1]:" + port, std::string("gateway.example.org")})
        EXPECT_EQ(machines(gateway, {session, {"Host", host}}).status, 403) << host;
    EXPECT_EQ(machines(gateway, {session, {"Origin", "https://gateway.example.org"}}).status, 403);
}

TEST(ConsoleSession, isBegunByAPageOfTheGatewayOnly)
{
    Gateway gateway;
    std::string const link = gateway.running().newConsoleLink();
    std::string const body = R"({"code":")" + link.substr(link.find('#') + 1) + R"("})";
    auto const statusWith = [&](Headers headers) {
        return gateway.call("POST", "/console/session", body, std::move(headers)).status;
    };

    EXPECT_EQ(statusWith({}), 403);
    EXPECT_EQ(statusWith({{"Origin", "null"}}), 403);
    EXPECT_EQ(statusWith({{"Origin", "http://127.0.0.1:1"}}), 403);
    EXPECT_EQ(statusWith({{"Origin", gateway.origin()}, {"Sec-Fetch-Site", "same-site"}}), 403);
    EXPECT_EQ(statusWith({{"Origin", gateway.origin()}, {"Sec-Fetch-Site", "none"}}), 403);
    // None of them has used the code up.
    EXPECT_EQ(statusWith({{"Origin", gateway.origin()}, {"Sec-Fetch-Site", "same-origin"}}), 201);
}

TEST(ConsoleSession, endsWhenThePersonLogsOut)
{
    Gateway gateway;
    auto const session = gateway.consoleSession();
    auto const other = gateway.consoleSession();
    auto const logOut = [&](Headers headers) {
        headers.push_back(session);
        return gateway.call("DELETE", "/console/session", "", std::move(headers)).status;
    };

    EXPECT_EQ(logOut({{"Origin", "http://evil.example"}}), 403);
    EXPECT_EQ(logOut({{"Origin", gateway.origin()}}), 200);

    EXPECT_EQ(machines(gateway, {session}).status, 401);
    EXPECT_EQ(machines(gateway, {other}).status, 200);
    EXPECT_EQ(logOut({{"Origin", gateway.origin()}}), 401);
}

TEST(ConsoleSession, endsAfterHalfAnHourWithoutARequest)
{
    Gateway gateway;
    auto const session = gateway.consoleSession();

    gateway.clock.advance(29min);
    EXPECT_EQ(machines(gateway, {session}).status, 200);
    gateway.clock.advance(29min);
    EXPECT_EQ(machines(gateway, {session}).status, 200);
    gateway.clock.advance(30min);
    EXPECT_EQ(machines(gateway, {session}).status, 401);
}

TEST(ConsoleSession, endsAfterTwelveHoursHoweverMuchItIsUsed)
{
    Gateway gateway;
    auto const session = gateway.consoleSession();

    for (int step = 0; step < 35; ++step) {
        gateway.clock.advance(20min);
        ASSERT_EQ(machines(gateway, {session}).status, 200) << step;
    }
    gateway.clock.advance(20min);

    EXPECT_EQ(machines(gateway, {session}).status, 401);
}

TEST(ConsoleSession, givesWayWhenThereAreTooMany)
{
    Gateway gateway([](Settings& settings) { settings.console.maxSessions = 2; });
    auto const first = gateway.consoleSession();
    gateway.clock.advance(1s);
    auto const second = gateway.consoleSession();
    gateway.clock.advance(1s);
    EXPECT_EQ(machines(gateway, {first}).status, 200); // Now the second is unused for longer.

    auto const third = gateway.consoleSession();

    EXPECT_EQ(machines(gateway, {first}).status, 200);
    EXPECT_EQ(machines(gateway, {second}).status, 401);
    EXPECT_EQ(machines(gateway, {third}).status, 200);
}

TEST(ConsoleBehindAProxy, servesThePublicAddressWithItsSchemeOnly)
{
    Gateway gateway([](Settings& settings) { settings.publicUrl = "https://gateway.example.org"; });
    std::string const origin = "https://gateway.example.org";
    EXPECT_TRUE(gateway.running().newConsoleLink().starts_with(origin + "/open#"));

    EXPECT_EQ(gateway.enter(gateway.running().newConsoleLink(), "http://gateway.example.org").status, 403);
    EXPECT_EQ(gateway.enter(gateway.running().newConsoleLink(), "https://gateway.example.org:444").status,
              403);
    Answer const entered = gateway.enter(gateway.running().newConsoleLink(), origin);
    ASSERT_EQ(entered.status, 201);

    std::pair<std::string, std::string> const session{"X-Zelvo-Console",
                                                      std::string(entered.json().at("session").as_string())};
    EXPECT_EQ(machines(gateway, {session, {"Host", "gateway.example.org"}}).status, 200);
    EXPECT_EQ(machines(gateway, {session, {"Host", "gateway.example.org:443"}}).status, 200);
    EXPECT_EQ(machines(gateway, {session, {"Host", "gateway.example.org"}, {"Origin", origin}}).status, 200);
    EXPECT_EQ(machines(gateway,
                       {session, {"Host", "gateway.example.org"}, {"Origin", "http://gateway.example.org"}})
                  .status,
              403);
}

// Many proxies replace the Host by the address that they forward to.
TEST(ConsoleBehindAProxy, servesThePublicOriginUnderItsLocalName)
{
    Gateway gateway([](Settings& settings) { settings.publicUrl = "https://gateway.example.org"; });
    std::string const link = gateway.running().newConsoleLink();
    std::string const body = R"({"code":")" + link.substr(link.find('#') + 1) + R"("})";

    Answer const entered =
        gateway.call("POST", "/console/session", body, {{"Origin", "https://gateway.example.org"}});

    ASSERT_EQ(entered.status, 201);
    EXPECT_EQ(machines(gateway, {{"X-Zelvo-Console", std::string(entered.json().at("session").as_string())}})
                  .status,
              200);
}

TEST(ConsoleBehindAProxy, believesNoForwardedHeader)
{
    Gateway gateway;
    Headers const forwarded = {{"X-Forwarded-Host", "evil.example"},
                               {"X-Forwarded-Proto", "https"},
                               {"X-Forwarded-For", "127.0.0.1"},
                               {"Forwarded", "host=evil.example;proto=https"}};
    auto const with = [&](Headers headers) {
        headers.insert(headers.end(), forwarded.begin(), forwarded.end());
        return headers;
    };

    EXPECT_EQ(gateway.call("GET", "/", "", with({{"Origin", "https://evil.example"}})).status, 403);
    EXPECT_EQ(gateway.call("GET", "/", "", with({{"Host", "evil.example"}})).status, 403);
    EXPECT_EQ(machines(gateway, with({gateway.consoleSession()})).status, 200);
}

TEST(Console, answersToItsOwnNamesOnly)
{
    Gateway gateway([](Settings& settings) { settings.publicUrl = "http://gateway.example.org:81"; });
    std::string const port = std::to_string(gateway.port());
    auto const statusFor = [&](std::string const& host) {
        return gateway.call("GET", "/", "", {{"Host", host}}).status;
    };

    for (std::string const& host :
         {"127.0.0.1:" + port, "[::1]:" + port, std::string("gateway.example.org:81")})
        EXPECT_EQ(statusFor(host), 200) << host;
    for (std::string const& host : {"localhost:" + port, "LOCALHOST:" + port, std::string("localhost")})
        EXPECT_EQ(statusFor(host), 307) << host;
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
    auto const session = gateway.consoleSession();
    std::string const path = "/v1/connections/" + linked.connectionId + "/commands";
    auto const statusWith = [&](Headers headers) {
        headers.push_back(session);
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

    for (std::string const target : {"/", "/page/console.js", "/console/machines", "/v1/connections"})
        EXPECT_EQ(gateway.platform("GET", target, "", foreign).status, 403) << target;
    EXPECT_EQ(gateway.call("POST", "/machines/link/resolve", "{}", foreign).status, 403);
}

TEST(Console, readsListsWithASession)
{
    Gateway gateway;
    auto const session = gateway.consoleSession();

    EXPECT_EQ(gateway.call("GET", "/v1/connections", "", {session, {"Sec-Fetch-Site", "same-origin"}}).status,
              200);
    EXPECT_EQ(gateway.call("GET", "/v1/connections", "", {session, {"Sec-Fetch-Site", "same-site"}}).status,
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
    auto const session = gateway.consoleSession();
    auto const list = [&] {
        return gateway.call("GET", "/console/machines", "", {session}).json().at("machines").as_array();
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
                     {gateway.consoleSession(), {"Origin", gateway.origin()}});

    EXPECT_EQ(answer.status, 504);
    EXPECT_EQ(answer.errorCode(), "confirmation_timeout");
}

TEST(Console, allowsItsPagesNothingButTheirOwnFiles)
{
    Gateway gateway;
    auto const session = gateway.consoleSession();

    for (Answer const& page : {gateway.call("GET", "/"), gateway.call("GET", "/open"),
                               gateway.call("GET", "/locked"), machines(gateway, {session})}) {
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
                                   "gateway.js", "session.js", "recordings.js", "recordings.css"}) {
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
