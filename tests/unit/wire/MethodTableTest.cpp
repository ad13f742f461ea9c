#include "wire/MethodTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <type_traits>

namespace zelvo {
namespace {

using testing::UnorderedElementsAre;

// A row states its scope, or that it has none.
static_assert(std::is_constructible_v<Method, std::string_view, std::nullopt_t, MethodUse>);
static_assert(!std::is_constructible_v<Method, std::string_view, MethodUse>);
static_assert(!std::is_constructible_v<Method, std::string_view>);
static_assert(!std::is_default_constructible_v<Method>);

std::vector<std::string_view> namesWhere(bool (Method::*holds)() const)
{
    std::vector<std::string_view> names;
    for (Method const& method : methods)
        if ((method.*holds)())
            names.push_back(method.name);
    return names;
}

TEST(MethodTable, namesEveryMethodOnce)
{
    std::set<std::string_view> names;
    for (Method const& method : methods)
        EXPECT_TRUE(names.insert(method.name).second) << method.name;
    EXPECT_EQ(names.size(), 30u);
}

TEST(MethodTable, findsARowByItsExactName)
{
    ASSERT_TRUE(methodNamed("ui.tree"));
    EXPECT_EQ(methodNamed("ui.tree")->name, "ui.tree");
    for (char const* const name : {"", "UI.tree", "ui.tree ", "ui", "no.such"})
        EXPECT_FALSE(methodNamed(name)) << name;
}

TEST(MethodTable, serviceMethodsAreThreeAndAreServed)
{
    EXPECT_THAT(namesWhere(&Method::isService),
                UnorderedElementsAre("connection.revoke", "connections.names", "agents.update"));
    for (Method const& method : methods)
        EXPECT_TRUE(method.isServed() || !method.isService()) << method.name;
}

TEST(MethodTable, whatNoMachineCarriesOutIsNotServed)
{
    for (char const* const name : {"hello", "heartbeat", "files.upload.chunk", "files.upload.end",
                                   "system.reboot", "vnc.open", "vnc.close"})
        EXPECT_FALSE(methodNamed(name)->isServed()) << name;
    EXPECT_EQ(namesWhere(&Method::isServed).size(), methods.size() - 7);
}

TEST(MethodTable, platformsSendAllButTheGatewaysOwnAndTheHeartbeat)
{
    std::vector<std::string_view> others;
    for (Method const& method : methods)
        if (!method.isForPlatforms())
            others.push_back(method.name);
    EXPECT_THAT(others, UnorderedElementsAre("agents.update", "connection.revoke", "connections.names",
                                             "heartbeat", "queue.offer"));
}

} // namespace
} // namespace zelvo
