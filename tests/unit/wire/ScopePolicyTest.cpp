#include "wire/ScopePolicy.h"

#include "wire/MethodTable.h"

#include <gtest/gtest.h>

#include <map>

namespace zelvo {
namespace {

std::map<std::string_view, AgentScope> const table = {
    {"screenshot", AgentScope::screen},        {"ui.tree", AgentScope::screen},
    {"screen.settle", AgentScope::screen},     {"ui.wait", AgentScope::screen},
    {"windows.list", AgentScope::screen},      {"apps.list", AgentScope::screen},
    {"cursor.position", AgentScope::screen},   {"actions.perform", AgentScope::input},
    {"apps.open", AgentScope::input},          {"apps.activate", AgentScope::input},
    {"urls.open", AgentScope::input},          {"shell.run", AgentScope::shell},
    {"files.upload.begin", AgentScope::files}, {"files.upload.chunk", AgentScope::files},
    {"files.upload.end", AgentScope::files},   {"files.download", AgentScope::files},
    {"clipboard.get", AgentScope::clipboard},  {"clipboard.set", AgentScope::clipboard},
};

TEST(ScopePolicy, followsTheTableForEveryMethodOfTheSchema)
{
    for (auto const& [method, scope, use] : methods) {
        auto const row = table.find(method);
        auto const expected = row == table.end() ? std::nullopt : std::optional(row->second);
        EXPECT_EQ(ScopePolicy::required(method), expected) << method;
    }
}

TEST(ScopePolicy, knowsNoMethodOutsideTheSchema)
{
    for (auto const& [method, scope] : table)
        EXPECT_TRUE(methodNamed(method)) << method;
}

TEST(ScopePolicy, asksNothingForGrantDisplayAndPermissions)
{
    EXPECT_FALSE(ScopePolicy::required("connection.grant"));
    EXPECT_FALSE(ScopePolicy::required("display.info"));
    EXPECT_FALSE(ScopePolicy::required("permissions.get"));
}

TEST(ScopePolicy, comparesNamesByCase)
{
    EXPECT_FALSE(ScopePolicy::required("Screenshot"));
    EXPECT_FALSE(ScopePolicy::required("screenshot "));
    EXPECT_FALSE(ScopePolicy::required(""));
}

TEST(ScopePolicy, needsRecordForNoMethod)
{
    for (auto const& [method, scope, use] : methods)
        EXPECT_NE(ScopePolicy::required(method), AgentScope::record) << method;
}

} // namespace
} // namespace zelvo
