#include "desktop/atspi/TreeComparison.h"

#include <boost/json.hpp>
#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

namespace zelvo::test {

namespace json = boost::json;

namespace {

std::string textOf(json::value const& value)
{
    return value.is_string() ? std::string(value.as_string()) : std::string();
}

/// The wire's name of each AT-SPI role, by the role's name and not its number.
std::string axRole(std::string const& role, OtherElement const& element, std::string const& parent)
{
    static std::map<std::string, std::string> const plain = {
        {"push button", "AXButton"},
        {"button", "AXButton"}, // what newer versions call the same
        {"column header", "AXButton"},
        {"table column header", "AXButton"},
        {"check box", "AXCheckBox"},
        {"switch", "AXCheckBox"},
        {"spin button", "AXTextField"},
        {"password text", "AXSecureTextField"},
        {"link", "AXLink"},
        {"radio button", "AXRadioButton"},
        {"menu item", "AXMenuItem"},
        {"check menu item", "AXMenuItem"},
        {"radio menu item", "AXMenuItem"},
        {"slider", "AXSlider"},
        {"dial", "AXSlider"},
        {"page tab", "AXTab"},
        {"popup menu", "AXMenu"},
        {"push button menu", "AXMenuButton"},
        {"frame", "AXWindow"},
        {"window", "AXWindow"},
        {"label", "AXStaticText"},
        {"static", "AXStaticText"},
        {"paragraph", "AXStaticText"},
        {"document text", "AXTextArea"},
        {"heading", "AXHeading"},
        {"panel", "AXGroup"},
        {"root pane", "AXGroup"},
        {"filler", "AXGroup"},
        {"section", "AXGroup"},
        {"form", "AXGroup"},
        {"grouping", "AXGroup"},
        {"image", "AXImage"},
        {"icon", "AXImage"},
        {"canvas", "AXImage"},
        {"document web", "AXWebArea"},
        {"scroll pane", "AXScrollArea"},
        {"viewport", "AXScrollArea"},
        {"scroll bar", "AXScrollBar"},
        {"tool bar", "AXToolbar"},
        {"list", "AXList"},
        {"list box", "AXList"},
        {"list item", "AXRow"},
        {"tree item", "AXRow"},
        {"table row", "AXRow"},
        {"table", "AXTable"},
        {"tree table", "AXTable"},
        {"tree", "AXOutline"},
        {"table cell", "AXCell"},
        {"page tab list", "AXTabGroup"},
        {"split pane", "AXSplitGroup"},
        {"separator", "AXSplitter"},
        {"progress bar", "AXProgressIndicator"},
        {"level bar", "AXProgressIndicator"},
        {"status bar", "AXGroup"},
        {"notification", "AXGroup"},
    };
    if (auto const found = plain.find(role); found != plain.end())
        return found->second;
    if (role == "text" || role == "entry")
        return element.has("multi_line") ? "AXTextArea" : "AXTextField";
    if (role == "combo box")
        return element.has("editable") ? "AXComboBox" : "AXPopUpButton";
    if (role == "toggle button" && !element.has("has_popup"))
        return element.has("expandable") ? "AXDisclosureTriangle" : "AXCheckBox";
    if (role == "toggle button")
        return "AXMenuButton";
    if (role == "menu")
        return parent == "menu bar" ? "AXMenuItem" : "AXMenu";
    if (role == "dialog" || role == "alert" || role == "file chooser")
        return parent == "application" ? "AXWindow" : "AXGroup";
    return "AXUnknown";
}

/// The wire's names of an element's actions.
std::vector<std::string> axActions(json::array const& names, bool isChromium)
{
    static std::map<std::string, std::string> const wire = {
        {"click", "AXPress"},  {"press", "AXPress"}, {"activate", "AXPress"}, {"jump", "AXPress"},
        {"toggle", "AXPress"}, {"Press", "AXPress"}, {"Toggle", "AXPress"},   {"ShowMenu", "AXShowMenu"},
        {"doDefault", ""},     {"clickAncestor", ""}};
    std::vector<std::string> actions;
    for (json::value const& name : names) {
        auto const known = wire.find(textOf(name));
        std::string const action = known == wire.end() ? textOf(name) : known->second;
        if (!action.empty() && std::ranges::find(actions, action) == actions.end())
            actions.push_back(action);
        // The first is the element's own; the others are those that every element has.
        if (isChromium)
            break;
    }
    return actions;
}

/// A button or text that is scrolled out of view needs no content; Qt and GTK 4 do not report it.
bool isOutOfSight(json::object const& read, std::string const& toolkit)
{
    static std::set<std::string> const leaves = {
        "button",      "check box",    "entry",     "icon",   "image",  "link", "password text",
        "push button", "radio button", "separator", "slider", "static", "text", "toggle button"};
    json::array const& states = read.at("states").as_array();
    return (toolkit == "Chromium" || toolkit == "gtk") && leaves.contains(textOf(read.at("roleName"))) &&
           std::ranges::find(states, json::value("showing")) == states.end();
}

OtherElement elementIn(json::object const& read,
                       std::string const& role,
                       std::string const& parent,
                       std::string const& toolkit)
{
    bool const isChromium = toolkit == "Chromium";
    OtherElement element{.title = textOf(read.at("name")),
                         .description = textOf(read.at("description")),
                         .value = textOf(read.at("text"))};
    for (json::value const& state : read.at("states").as_array())
        element.states.push_back(textOf(state));
    element.actions = axActions(read.at("actions").as_array(), isChromium);
    if (toolkit == "GTK" && element.title.starts_with("Gtk"))
        element.title.clear();
    if (json::array const& labels = read.at("labels").as_array();
        element.title.empty() && !labels.empty() && !isChromium && role != "panel")
        element.title = textOf(labels.front());
    element.role = axRole(role, element, parent);
    return element;
}

std::string joined(std::vector<std::string> const& texts)
{
    std::string all;
    for (std::string const& text : texts)
        all += text + ";";
    return all;
}

void compare(WalkedElement const& ours,
             OtherElement const& theirs,
             bool isGtk4,
             std::vector<std::string>& found)
{
    auto const differs = [&](char const* what, std::string const& our, std::string const& their) {
        if (our != their)
            found.push_back(theirs.role + " '" + theirs.title + "': " + what + " '" + our + "', not '" +
                            their + "'");
    };
    auto const flag = [](std::optional<bool> value) { return value.value_or(false) ? "yes" : "no"; };
    differs("role", ours.role, theirs.role);
    if (!ours.size)
        return;
    differs("showing", "yes", flag(theirs.has(isGtk4 ? "visible" : "showing")));
    differs("title", ours.title.value_or(""), theirs.title);
    differs("description", ours.description.value_or(""), theirs.description);
    differs("value", ours.value.value_or(""), theirs.value);
    differs("actions", joined(ours.actions), joined(theirs.actions));
    differs("enabled", flag(ours.enabled),
            flag((isGtk4 || theirs.has("enabled")) && theirs.has("sensitive")));
    differs("focused", flag(ours.focused), flag(theirs.has("focused")));
}

/// Each difference between the two, one line each.
std::vector<std::string>
differences(std::vector<WalkedElement> const& ours, std::vector<OtherElement> const& theirs, bool isGtk4)
{
    std::vector<std::string> found;
    if (ours.size() != theirs.size())
        found.push_back(std::to_string(ours.size()) + " elements, not " + std::to_string(theirs.size()));
    for (std::size_t i = 0; i < std::min(ours.size(), theirs.size()) && found.size() < 20; ++i)
        compare(ours[i], theirs[i], isGtk4, found);
    return found;
}

} // namespace

void TreeComparison::show(Subject const& subject)
{
    pid = desktop.start(subject.application.command);
    desktop.waitForWindow(subject.application.window);
}

std::vector<WalkedElement> TreeComparison::ours(bool isChromium) const
{
    auto const reader = fixture.accessibility->reader(pid, 1s);
    if (isChromium)
        reader->setFlag(reader->application(), AccessibilityAttribute::manualAccessibility, true);
    return walkWindows(*reader, *fixture.clock, {.maxElements = 5000, .budget = 20s}).elements;
}

TreeComparison::OtherTree TreeComparison::theirs(Subject const& subject)
{
    OtherTree tree;
    auto& [elements, toolkit] = tree;
    std::vector<std::string> roles; // of the elements above
    std::size_t unread = SIZE_MAX;  // what lies deeper is not read
    std::istringstream text(readElements(desktop, pid, subject.isChromium));
    for (std::string line; std::getline(text, line);) {
        if (!line.starts_with("{"))
            continue;
        json::object const read = json::parse(line).as_object();
        auto const depth = static_cast<std::size_t>(read.at("depth").as_int64());
        if (depth == 0)
            toolkit = textOf(read.at("toolkit"));
        if (depth > unread)
            continue;
        unread = isOutOfSight(read, toolkit) ? depth : SIZE_MAX;
        roles.resize(depth);
        roles.push_back(textOf(read.at("roleName")));
        // Pages of a GTK 4 stack have no role and are skipped.
        bool const isNothing = toolkit == "GTK" && !read.at("screen").is_array();
        if (depth > 0 && !isNothing)
            elements.push_back(elementIn(read, roles.back(), roles[depth - 1], toolkit));
    }
    return tree;
}

void TreeComparison::expectSame(Subject const& subject)
{
    show(subject);
    expectSameOfShown(subject);
}

void TreeComparison::expectSameOfShown(Subject const& subject)
{
    std::vector<std::string> found;
    std::size_t placed = 0;
    waitFor(
        [&] {
            auto const all = ours(subject.isChromium);
            placed = static_cast<std::size_t>(
                std::ranges::count_if(all, [](WalkedElement const& one) { return one.size.has_value(); }));
            OtherTree const other = theirs(subject);
            found = differences(all, other.elements, other.toolkit == "GTK");
            return found.empty() && placed > 3;
        },
        15s);
    EXPECT_THAT(found, testing::IsEmpty());
    EXPECT_GT(placed, 3u);
}

} // namespace zelvo::test
