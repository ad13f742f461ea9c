#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

Answer stateOf(Gateway const& gateway, std::string const& code)
{
    return gateway.call("POST", "/link/state", writeJson(json::object{{"token", code}}));
}

std::string newLink(Gateway const& gateway, std::string const& redirectUrl)
{
    json::object const body{
        {"endUserId", "ada"}, {"scopes", json::array{"screen"}}, {"redirectUrl", redirectUrl}};
    Answer const answer = gateway.platform("POST", "/v1/link-sessions", writeJson(body));
    return std::string(answer.json().at("code").as_string());
}

void complete(Gateway const& gateway, std::string const& code)
{
    json::value const resolved = gateway.resolve(code).json();
    EXPECT_EQ(gateway.complete(code, std::string(resolved.at("machineToken").as_string())).status, 200);
}

TEST(LinkPage, isForEverybodyAndInTheirLanguage)
{
    Gateway gateway([](Settings& settings) { settings.platformName = "Acme <b>"; });

    Answer const english = gateway.call("GET", "/link");
    Answer const russian = gateway.call("GET", "/link", "", {{"Accept-Language", "ru-RU,ru;q=0.9,en;q=0.8"}});

    EXPECT_EQ(english.status, 200);
    EXPECT_NE(english.body.find(R"(<html lang="en">)"), std::string::npos);
    EXPECT_NE(english.body.find("Acme &lt;b&gt; would like to use this computer"), std::string::npos);
    EXPECT_EQ(english.body.find("{{"), std::string::npos);
    EXPECT_EQ(english.body.find("{0}"), std::string::npos);
    EXPECT_NE(russian.body.find(R"(<html lang="ru">)"), std::string::npos);
    EXPECT_NE(russian.body.find("Открыть Zelvo"), std::string::npos);
    for (char const* const file : {"/page/link.js", "/page/link.css"})
        EXPECT_EQ(gateway.call("GET", file).status, 200) << file;
}

TEST(LinkPage, loadsNothingFromElsewhereAndTellsNobodyWhereItIs)
{
    Gateway gateway;

    auto const headers = gateway.call("GET", "/link").headers;

    EXPECT_TRUE(headers.at("content-security-policy").starts_with("default-src 'none'; script-src 'self'"));
    EXPECT_EQ(headers.at("content-security-policy").find("unsafe"), std::string::npos);
    EXPECT_EQ(headers.at("referrer-policy"), "no-referrer");
    EXPECT_EQ(headers.at("cache-control"), "no-store");
    EXPECT_EQ(headers.at("x-frame-options"), "DENY");
    std::string const page = gateway.call("GET", "/link").body;
    EXPECT_EQ(page.find("<script>"), std::string::npos);
    EXPECT_EQ(page.find("style="), std::string::npos);
    EXPECT_EQ(page.find("//"), std::string::npos) << "another site";
}

TEST(LinkPage, saysWhereToGetTheProgram)
{
    Gateway gateway([](Settings& settings) { settings.installUrl = "https://acme.example/get?a=1&b=\"2"; });

    std::string const page = gateway.call("GET", "/link").body;

    EXPECT_NE(page.find(R"(href="https://acme.example/get?a=1&amp;b=&quot;2")"), std::string::npos) << page;
}

TEST(LinkPage, leadsFromLocalhostToTheAddress)
{
    Gateway gateway;
    std::string const host = "localhost:" + std::to_string(gateway.port());

    Answer const answer = gateway.call("GET", "/link", "", {{"Host", host}});

    EXPECT_EQ(answer.status, 307);
    EXPECT_EQ(answer.headers.at("location"), gateway.origin() + "/link");
}

TEST(LinkPage, learnsWhereToGoOnlyOnceTheLinkIsCompleted)
{
    Gateway gateway;
    std::string const code = newLink(gateway, "https://acme.example/done?user=7");

    json::value const open = stateOf(gateway, code).json();
    complete(gateway, code);
    json::value const completed = stateOf(gateway, code).json();

    EXPECT_EQ(open.at("status").as_string(), "open");
    EXPECT_FALSE(open.as_object().contains("redirectUrl"));
    EXPECT_EQ(completed.at("status").as_string(), "completed");
    EXPECT_EQ(completed.at("redirectUrl").as_string(), "https://acme.example/done?user=7");
    EXPECT_FALSE(completed.as_object().contains("endUserId")) << "whose link it is";
    EXPECT_FALSE(completed.as_object().contains("connectionId"));
}

TEST(LinkPage, learnsThatALinkHasExpired)
{
    Gateway gateway([](Settings& settings) { settings.linkLifetime = -1s; });

    EXPECT_EQ(stateOf(gateway, gateway.newLink()).json().at("status").as_string(), "expired");
}

TEST(LinkPage, learnsNothingWithoutACode)
{
    Gateway gateway;
    std::string const code = gateway.newLink();

    EXPECT_EQ(stateOf(gateway, "").status, 404);
    EXPECT_EQ(stateOf(gateway, code.substr(1)).errorCode(), "not_found");
    for (char const* const body : {"", "{}", "[]", R"({"token": 5})", "\xff"})
        EXPECT_EQ(gateway.call("POST", "/link/state", body).status, 400) << body;
    std::string const own = R"({"token":")" + code + "\"}";
    EXPECT_EQ(gateway.call("POST", "/link/state", own, {{"Origin", "https://evil.example"}}).status, 403);
    EXPECT_EQ(gateway.call("GET", "/link/state").status, 405);
    EXPECT_EQ(gateway.call("POST", "/link/state", std::string(65UL * 1024, 'x')).status, 413);
}

} // namespace
} // namespace zelvo::service
