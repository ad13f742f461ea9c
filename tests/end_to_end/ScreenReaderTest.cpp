// What a screen reader in another process gets of the program's own windows.
#include "end_to_end/OwnWindowsFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

namespace zelvo::test {
namespace {

using testing::IsEmpty;

class ScreenReader : public OwnWindowsFixture {};

TEST_F(ScreenReader, everyControlOfTheMainWindowHasARoleAndAName)
{
    openMain();
    named("Pause agents", "push button"); // All is published.

    std::set<std::string> const controls{"push button", "check box", "list", "list item",
                                         "frame",       "label",     "text", "menu item"};
    std::set<std::string> roles;
    std::vector<std::string> unnamed;
    for (json::object const& element : read("tree")) {
        std::string const role = text(element, "role");
        roles.insert(role);
        // A picker's own name is what is chosen.
        bool const isUnnamed = role == "combo box" ? text(element, "label").empty()
                                                   : controls.contains(role) && text(element, "name").empty();
        if (has(element, "showing") && isUnnamed)
            unnamed.push_back(writeJson(element));
    }

    EXPECT_THAT(unnamed, IsEmpty());
    for (char const* const expected :
         {"frame", "push button", "check box", "combo box", "list", "list item", "label"})
        EXPECT_TRUE(roles.contains(expected)) << expected;
}

TEST_F(ScreenReader, aPickerSaysWhatItIsForAndWhatIsChosen)
{
    openMain();

    json::object const picker = named("Ask me", "combo box");

    EXPECT_EQ(text(picker, "label"), "Commands sent while you were away");
    EXPECT_EQ(text(picker, "description"), "Ask me");
}

TEST_F(ScreenReader, theLogIsReadWithTimeAndSource)
{
    openMain();

    std::vector<json::object> const elements = read("tree");

    EXPECT_TRUE(std::ranges::any_of(elements, [](json::object const& element) {
        return text(element, "role") == "list item" &&
               text(element, "name").starts_with("Connected to the server, Server, ");
    })) << elements.size();
}

TEST_F(ScreenReader, aSwitchReportsThatItWasTurned)
{
    openMain();
    json::object const before = named("Show the agent’s pointer", "check box");

    std::vector<json::object> const events = read("press", {"Show the agent’s pointer"});

    EXPECT_TRUE(std::ranges::any_of(events, [](json::object const& event) {
        return text(event, "event") == "object:state-changed:checked" &&
               text(event, "name") == "Show the agent’s pointer";
    }));
    EXPECT_NE(has(before, "checked"), has(named("Show the agent’s pointer", "check box"), "checked"));
}

TEST_F(ScreenReader, aPauseChangesTheButtonAndTheStatus)
{
    openMain();
    named("Pause agents", "push button");

    std::vector<json::object> const events = read("press", {"Pause agents"});

    std::set<std::string> changed;
    for (json::object const& event : events)
        if (text(event, "event") == "object:property-change:accessible-name")
            changed.insert(text(event, "role"));
    EXPECT_TRUE(changed.contains("push button"));
    EXPECT_TRUE(changed.contains("label"));
    named("Let agents continue", "push button");
}

} // namespace
} // namespace zelvo::test
