#include "ZelvoGateway/console/KeyBody.h"
#include "ZelvoGateway/http/HttpError.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

struct Open {
    Gateway gateway;
    Headers page{gateway.consoleSession(), {"Origin", gateway.origin()}};

    Answer call(std::string const& method, std::string const& path, std::string const& body = {}) const
    {
        return gateway.call(method, path, body, page);
    }
    int statusWith(std::string const& key) const
    {
        return gateway.call("GET", "/v1/connections", "", {{"Authorization", "Bearer " + key}}).status;
    }
};

std::string textOf(json::value const& value)
{
    return std::string(value.as_string());
}

TEST(ConsoleKeys, areMadeListedAndRevoked)
{
    Open on;

    Answer const made = on.call("POST", "/console/keys", R"({"name": "Acme", "endUsers": ["ada"]})");
    ASSERT_EQ(made.status, 201) << made.body;
    std::string const text = textOf(made.json().at("text"));
    std::string const id = textOf(made.json().at("key").at("id"));
    EXPECT_EQ(on.statusWith(text), 200);

    Answer const listed = on.call("GET", "/console/keys");
    EXPECT_EQ(listed.body.find(text), std::string::npos);
    json::array const keys = listed.json().at("keys").as_array();
    ASSERT_EQ(keys.size(), 2u);
    EXPECT_EQ(keys[0].at("builtIn"), true);
    EXPECT_EQ(keys[1].at("name"), "Acme");
    EXPECT_EQ(textOf(keys[1].at("prefix")), text.substr(0, 11));
    EXPECT_EQ(keys[1].at("endUsers"), json::array{"ada"});
    EXPECT_TRUE(keys[1].as_object().contains("lastUsedAt"));
    EXPECT_FALSE(keys[1].as_object().contains("revokedAt"));

    EXPECT_EQ(on.call("DELETE", "/console/keys/" + id).status, 200);
    EXPECT_EQ(on.statusWith(text), 401);
    EXPECT_EQ(on.call("DELETE", "/console/keys/" + id).status, 404);
    EXPECT_EQ(on.call("DELETE", "/console/keys/key_builtin").status, 400);
    EXPECT_TRUE(on.call("GET", "/console/keys").json().at("keys").at(1).as_object().contains("revokedAt"));
}

TEST(ConsoleKeys, areForTheConsoleAlone)
{
    Open on;
    std::string const body = R"({"name": "Acme"})";

    EXPECT_EQ(on.gateway.platform("GET", "/console/keys").status, 401);
    EXPECT_EQ(on.gateway.platform("POST", "/console/keys", body).status, 401);
    EXPECT_EQ(on.gateway.platform("DELETE", "/console/keys/key_1").status, 401);
    EXPECT_EQ(on.gateway.call("GET", "/console/keys").status, 401);
    EXPECT_EQ(on.gateway.call("POST", "/console/keys", body, {on.page[0]}).status,
              403); // No page sends this.
}

TEST(ConsoleKeys, refuseABodyThatSaysSomethingElse)
{
    // A key without a list reaches everything, so a misspelled or empty one must not pass for none.
    for (char const* const bad :
         {R"({})", R"({"name": 1})", R"({"name": "a", "connection": ["con_1"]})",
          R"({"name": "a", "connections": []})", R"({"name": "a", "connections": "con_1"})",
          R"({"name": "a", "endUsers": [1]})", R"({"name": "a", "endUsers": null})"})
        EXPECT_THROW(keyRequestIn(parseJson(bad)->as_object()), HttpError) << bad;

    KeyRequest const read = keyRequestIn(
        parseJson(R"({"name": "a", "connections": ["c", "b", "c"], "endUsers": ["d"]})")->as_object());
    EXPECT_EQ(read.name, "a");
    EXPECT_EQ(read.reach, (Reach{.connections = {"b", "c"}, .endUsers = {"d"}}));
}

} // namespace
} // namespace zelvo::service
