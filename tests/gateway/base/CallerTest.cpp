#include "ZelvoGateway/base/Caller.h"

#include "ZelvoGateway/store/StoredConnection.h"

#include <gtest/gtest.h>

namespace zelvo::service {

namespace {

StoredConnection connectionOf(std::string id, std::string endUserId)
{
    return {.id = std::move(id), .endUserId = std::move(endUserId)};
}

TEST(Caller, reachesNothingUnlessItSaysSo)
{
    EXPECT_FALSE(Caller{}.reaches(connectionOf("con_1", "ada")));
    EXPECT_FALSE(Caller{}.reach.coversEndUser("ada"));
    EXPECT_FALSE(Caller{}.reaches(connectionOf("", "")));
}

TEST(Caller, reachesAll)
{
    Caller const caller{.keyId = "key_1", .reach = {.all = true}};

    EXPECT_TRUE(caller.reaches(connectionOf("con_1", "ada")));
    EXPECT_TRUE(caller.reach.coversEndUser("ada"));
}

TEST(Caller, reachesListedConnectionsAndThoseOfListedEndUsers)
{
    Caller const caller{.keyId = "key_1", .reach = {.connections = {"con_1"}, .endUsers = {"ada"}}};

    EXPECT_TRUE(caller.reaches(connectionOf("con_1", "bob")));
    EXPECT_TRUE(caller.reaches(connectionOf("con_2", "ada")));
    EXPECT_FALSE(caller.reaches(connectionOf("con_2", "bob")));
    EXPECT_FALSE(caller.reaches(connectionOf("ada", "con_1")));
    EXPECT_TRUE(caller.reach.coversEndUser("ada"));
    EXPECT_FALSE(caller.reach.coversEndUser("bob"));
}

} // namespace

} // namespace zelvo::service
