#include "desktop/applications/Applications.h"
#include "desktop/atspi/AtspiDesk.h"
#include "platform/linux/atspi/AtspiActions.h"

#include <boost/json/parse.hpp>
#include <boost/json/value_to.hpp>
#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

namespace zelvo::test {

namespace {

namespace json = boost::json;
using enum AccessibilityAttribute;

/// What another reader sees, the application itself left out.
std::vector<json::value> independentWalk(AtspiDesk& desk, pid_t pid)
{
    std::vector<json::value> elements;
    std::istringstream lines(readElements(desk.desktop, pid));
    for (std::string line; std::getline(lines, line);)
        elements.push_back(json::parse(line));
    elements.erase(elements.begin());
    return elements;
}

AtspiStates statesOf(json::value const& element)
{
    std::map<std::string, AtspiState> const names = {{"showing", AtspiState::showing},
                                                     {"editable", AtspiState::editable},
                                                     {"multi_line", AtspiState::multiLine},
                                                     {"expandable", AtspiState::expandable}};
    AtspiStates states;
    for (auto const& state : element.at("states").as_array())
        if (auto const known = names.find(json::value_to<std::string>(state)); known != names.end())
            states.add(known->second);
    return states;
}

std::string textOf(json::value const& element, char const* name)
{
    return json::value_to<std::string>(element.at(name));
}

/// Both readers see the same elements, one by one. Menus and
/// toggle buttons, whose roles depend on more, are left out.
void expectSame(Walk const& ours, std::vector<json::value> const& theirs)
{
    ASSERT_EQ(ours.elements.size(), theirs.size());
    for (std::size_t at = 0; at < theirs.size(); ++at) {
        WalkedElement const& one = ours.elements[at];
        json::value const& other = theirs[at];
        SCOPED_TRACE(std::to_string(at) + " " + one.role + " " + textOf(other, "name"));
        EXPECT_EQ(one.depth, other.at("depth").to_number<int>() - 1);
        auto const role = other.at("role").to_number<std::uint32_t>();
        if (role != 33 && role != 62)
            EXPECT_EQ(one.role, axRoleOf(role, statesOf(other), {.isInApplication = one.depth == 0}).role);
        if (!one.size)
            continue;
        EXPECT_EQ(one.title.value_or(""), textOf(other, "name"));
        EXPECT_EQ(one.description.value_or(""), textOf(other, "description"));
        auto const extents = json::value_to<std::vector<int>>(other.at("screen"));
        EXPECT_LE(one.size->width, extents[2]); // Of the part that is scrolled into view.
        EXPECT_LE(one.size->height, extents[3]);
        auto const names = json::value_to<std::vector<std::string>>(other.at("actions"));
        EXPECT_EQ(one.actions, axActionsOf(names));
    }
}

struct RealApplications : testing::Test {
    /// Waits until a read of the application has an element of that title, and gives the read.
    Walk settled(pid_t pid, std::string const& title)
    {
        Walk seen;
        require(
            "the element " + title,
            [&] {
                auto const reader = desk.accessibility->atspiReader(pid, 250ms);
                seen = desk.walk(*reader);
                return seen.find(title) != nullptr;
            },
            20s);
        return seen;
    }

    AtspiDesk desk{{.accessibility = true}};
};

} // namespace

TEST_F(RealApplications, readsADialogLikeAnIndependentReader)
{
    pid_t const pid = desk.desktop.start({"zenity", "--question", "--title", "Ask", "--text", "Go on?"});
    Walk const seen = settled(pid, "Go on?");

    EXPECT_EQ(seen.elements.front().role, "AXWindow");
    EXPECT_EQ(seen.elements.front().subrole, "AXDialog");
    ASSERT_TRUE(seen.find("Yes"));
    EXPECT_EQ(seen.find("Yes")->role, "AXButton");
    EXPECT_THAT(seen.find("Yes")->actions, testing::ElementsAre("AXPress"));
    expectSame(seen, independentWalk(desk, pid));
}

TEST_F(RealApplications, readsAnEditorLikeAnIndependentReader)
{
    auto const file = desk.desktop.home() / "note.txt";
    std::ofstream(file) << "A line of text.\n";
    pid_t const pid = desk.desktop.start({"mousepad", "--disable-server", file});
    Walk const seen = settled(pid, "File");

    auto const area = std::ranges::find_if(seen.elements,
                                           [](WalkedElement const& one) { return one.role == "AXTextArea"; });
    ASSERT_NE(area, seen.elements.end());
    EXPECT_EQ(area->value, "A line of text.\n");
    EXPECT_EQ(seen.find("File")->role, "AXMenuItem");
    expectSame(seen, independentWalk(desk, pid));
    auto const reader = desk.accessibility->atspiReader(pid, 250ms);
    EXPECT_TRUE(reader->element(reader->application(), focusedWindow));
    EXPECT_TRUE(reader->element(reader->application(), menuBar));
}

TEST_F(RealApplications, readsAQtApplicationLikeAnIndependentReader)
{
    pid_t const pid = desk.desktop.start(form(desk.desktop, Toolkit::qt).command);
    Walk seen;
    require(
        "the Qt window",
        [&] {
            auto const reader = desk.accessibility->atspiReader(pid, 250ms);
            seen = desk.walk(*reader);
            return seen.elements.size() > 1;
        },
        20s);

    expectSame(seen, independentWalk(desk, pid));
    EXPECT_TRUE(desk.desktop.processes().isRunning(pid));
}

TEST_F(RealApplications, doesNotReadThePasswordInADialog)
{
    pid_t const pid = desk.desktop.start(
        {"zenity", "--entry", "--hide-text", "--entry-text", "hunter2", "--text", "Secret?"});
    Walk const seen = settled(pid, "Secret?");

    auto const field = std::ranges::find_if(
        seen.elements, [](WalkedElement const& one) { return one.role == "AXSecureTextField"; });
    ASSERT_NE(field, seen.elements.end());
    for (WalkedElement const& one : seen.elements)
        EXPECT_EQ(one.value, std::nullopt);
}

} // namespace zelvo::test
