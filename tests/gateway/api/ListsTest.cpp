#include "gateway/support/Gateway.h"
#include "wire/records/ServiceMachines.h"

#include <gtest/gtest.h>

#include <set>

namespace zelvo::service {
namespace {

std::vector<std::string> idsOf(json::value const& page)
{
    std::vector<std::string> ids;
    for (json::value const& row : page.at("data").as_array())
        ids.emplace_back(row.at("id").as_string());
    return ids;
}

std::string addUser(Gateway const& gateway, std::string const& name)
{
    Answer const answer = gateway.platform("POST", "/v1/end-users", R"({"externalId":")" + name + "\"}");
    return std::string(answer.json().at("id").as_string());
}

/// Reads a list to its end, page by page.
std::vector<std::string>
readAll(Gateway const& gateway, std::string const& path, std::function<void()> const& betweenPages = [] {})
{
    std::vector<std::string> all;
    std::string before;
    for (int pages = 0; pages < 50; ++pages) {
        std::string const target = path + "?limit=2" + (before.empty() ? "" : "&before=" + before);
        json::value const page = gateway.platform("GET", target).json();
        for (std::string const& id : idsOf(page))
            all.push_back(id);
        json::value const* const next = page.as_object().if_contains("nextBefore");
        if (!next)
            return all;
        before = std::string(next->as_string());
        betweenPages();
    }
    ADD_FAILURE() << "The list has no end";
    return all;
}

TEST(Lists, showEachRowOnceNewestFirst)
{
    Gateway gateway;
    std::vector<std::string> made;
    for (int i = 0; i < 5; ++i) {
        made.push_back(addUser(gateway, std::to_string(i)));
        std::this_thread::sleep_for(std::chrono::milliseconds(2)); // Dates have milliseconds.
    }

    auto const all = readAll(gateway, "/v1/end-users");

    EXPECT_EQ(all, std::vector<std::string>(made.rbegin(), made.rend()));
}

TEST(Lists, stayTheSameWhileRowsAreAdded)
{
    Gateway gateway;
    std::set<std::string> made;
    for (int i = 0; i < 5; ++i)
        made.insert(addUser(gateway, std::to_string(i)));
    int added = 100;

    auto const all = readAll(gateway, "/v1/end-users", [&] { addUser(gateway, std::to_string(++added)); });

    EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), all.size()) << "a row came twice";
    for (std::string const& id : made)
        EXPECT_EQ(std::ranges::count(all, id), 1) << id;
}

TEST(Lists, goOnWhereTheyStoppedIfThatRowIsGone)
{
    Gateway gateway;
    for (int i = 0; i < 5; ++i)
        gateway.link();
    json::value const first = gateway.platform("GET", "/v1/machines?limit=2").json();
    auto const shown = idsOf(first);
    auto const all = idsOf(gateway.platform("GET", "/v1/machines").json());

    gateway.platform("DELETE", "/v1/machines/" + shown.back());
    std::string const before(first.at("nextBefore").as_string());
    json::value const second = gateway.platform("GET", "/v1/machines?limit=3&before=" + before).json();

    EXPECT_EQ(idsOf(second), std::vector<std::string>(all.begin() + 2, all.end()));
    EXPECT_FALSE(second.as_object().contains("nextBefore"));
}

TEST(Lists, refuseBadPages)
{
    Gateway gateway;
    for (std::string const path : {"/v1/machines", "/v1/connections", "/v1/end-users", "/v1/link-sessions"}) {
        for (std::string const query : {"limit=0", "limit=201", "limit=-1", "limit=x", "limit=", "limit=1e2",
                                        "limit=99999999999999999999", "before=", "before=x", "before=~",
                                        "before=yesterday~con_1", "before=2026-11-21T00:00:00Z~"}) {
            Answer const answer = gateway.platform("GET", path + "?" + query);
            EXPECT_EQ(answer.status, 400) << path << query;
            EXPECT_EQ(answer.errorCode(), "invalid_request");
        }
        EXPECT_EQ(gateway.platform("GET", path + "?limit=200").status, 200);
        EXPECT_EQ(gateway.call("GET", path).status, 401);
    }
}

TEST(Lists, areFiltered)
{
    Gateway gateway;
    LinkedMachine const adas = gateway.link();
    std::string const link = gateway.newLink(R"(["screen"])", "bob");
    json::value const bobs = gateway.resolve(link).json();
    gateway.complete(link, std::string(bobs.at("machineToken").as_string()));
    addUser(gateway, "7");
    addUser(gateway, "8");
    auto const count = [&](std::string const& target) {
        return idsOf(gateway.platform("GET", target).json()).size();
    };

    EXPECT_EQ(count("/v1/connections"), 2U);
    EXPECT_EQ(count("/v1/connections?endUserId=bob"), 1U);
    EXPECT_EQ(count("/v1/connections?endUserId=bob&machineId=" + adas.machineId), 0U);
    EXPECT_EQ(count("/v1/connections?machineId=" + adas.machineId), 1U);
    EXPECT_EQ(count("/v1/link-sessions?endUserId=ada"), 1U);
    EXPECT_EQ(count("/v1/end-users?externalId=8"), 1U);
    EXPECT_EQ(count("/v1/end-users?externalId=9"), 0U);
}

TEST(Machines, areListedWithTheirIds)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();
    gateway.platform("POST", "/v1/cloud-machines", "");

    json::value const list = gateway.platform("GET", "/v1/machines").json();

    ASSERT_EQ(list.at("data").as_array().size(), 2U);
    for (json::value const& row : list.at("data").as_array()) {
        bool const isLinked = row.at("id").as_string() == linked.machineId;
        EXPECT_EQ(row.at("kind").as_string(), isLinked ? "connected" : "cloud");
        auto const machine = records::fromJson<records::Machine>(row.at("machine"));
        ASSERT_TRUE(machine);
        EXPECT_FALSE(machine->online);
    }
}

TEST(Connections, areGivenOneByOne)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();
    std::string const path = "/v1/connections/" + linked.connectionId;

    auto const active = records::fromText<records::Connection>(gateway.platform("GET", path).body);
    gateway.platform("DELETE", path);
    auto const revoked = records::fromText<records::Connection>(gateway.platform("GET", path).body);

    ASSERT_TRUE(active && revoked);
    EXPECT_EQ(active->machineId, linked.machineId);
    EXPECT_EQ(active->status, records::ConnectionStatus::active);
    EXPECT_EQ(revoked->status, records::ConnectionStatus::revoked);
    EXPECT_EQ(gateway.platform("GET", "/v1/connections/none").errorCode(), "not_found");
    EXPECT_EQ(gateway.call("GET", path).status, 401);
}

TEST(EndUsers, areGivenOneByOne)
{
    Gateway gateway;
    std::string const id = addUser(gateway, "7");

    Answer const answer = gateway.platform("GET", "/v1/end-users/" + id);

    EXPECT_EQ(answer.json().at("externalId").as_string(), "7");
    EXPECT_EQ(gateway.platform("GET", "/v1/end-users/none").errorCode(), "not_found");
}

TEST(EndUsers, haveShortNames)
{
    Gateway gateway;
    std::string const longName(257, 'a');

    for (std::string const key : {"externalId", "name", "email"}) {
        json::object body{{"externalId", "7"}};
        body[key] = longName;
        EXPECT_EQ(gateway.platform("POST", "/v1/end-users", writeJson(body)).status, 400) << key;
    }
}

} // namespace
} // namespace zelvo::service
