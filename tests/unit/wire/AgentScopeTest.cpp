#include "wire/AgentScope.h"

#include "base/LocalizedTexts.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

struct Row {
    AgentScope scope;
    std::string_view text;
    bool offByDefault;
    bool bypasses;
};

std::vector<Row> const table = {
    {AgentScope::screen, "screen", false, false},      {AgentScope::input, "input", false, false},
    {AgentScope::shell, "shell", true, true},          {AgentScope::files, "files", true, true},
    {AgentScope::clipboard, "clipboard", true, false}, {AgentScope::record, "record", true, false},
};

TEST(AgentScope, followsTheTable)
{
    ASSERT_EQ(allScopes.size(), table.size());
    for (std::size_t i = 0; i < table.size(); ++i) {
        Row const& row = table[i];
        EXPECT_EQ(allScopes[i], row.scope);
        EXPECT_EQ(rawValue(row.scope), row.text);
        EXPECT_EQ(fromRawValue<AgentScope>(row.text), row.scope);
        EXPECT_EQ(isOffByDefault(row.scope), row.offByDefault);
        EXPECT_EQ(bypassesHiddenApps(row.scope), row.bypasses);
        EXPECT_EQ(title(row.scope), localized("scope." + std::string(row.text)));
        EXPECT_EQ(shortTitle(row.scope), localized("scope.short." + std::string(row.text)));
    }
}

TEST(AgentScope, hasExactlySixTexts)
{
    for (std::string_view const text : {"", "Screen", "screens", "all", "vnc"})
        EXPECT_FALSE(fromRawValue<AgentScope>(text)) << text;
}

TEST(AgentScope, listsEachScopeOnceInItsOwnOrder)
{
    std::vector<AgentScope> const scopes = {AgentScope::files, AgentScope::screen, AgentScope::files};

    EXPECT_EQ(shortList(scopes),
              localized("scope.short.screen") + localized("list.separator") + localized("scope.short.files"));
}

TEST(AgentScope, listsNothingAsNoText)
{
    EXPECT_EQ(shortList({}), "");
}

TEST(ConsentDefaults, ticksSeeingAndClickingOnly)
{
    std::vector<AgentScope> const all(allScopes.begin(), allScopes.end());

    EXPECT_EQ(ConsentDefaults::initialSelection({AgentScope::shell, AgentScope::screen}),
              (std::set<AgentScope>{AgentScope::screen}));
    EXPECT_EQ(ConsentDefaults::initialSelection(all),
              (std::set<AgentScope>{AgentScope::screen, AgentScope::input}));
}

TEST(ConsentDefaults, collapsesDuplicatesAndTakesNothingFromNothing)
{
    EXPECT_EQ(ConsentDefaults::initialSelection({AgentScope::input, AgentScope::input}),
              (std::set<AgentScope>{AgentScope::input}));
    EXPECT_TRUE(ConsentDefaults::initialSelection({}).empty());
}

} // namespace
} // namespace zelvo
