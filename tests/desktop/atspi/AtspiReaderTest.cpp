#include "desktop/atspi/AtspiFixture.h"

#include <boost/json/array.hpp>
#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>

namespace zelvo::test {

namespace {

namespace json = boost::json;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using enum AccessibilityAttribute;

std::vector<std::string> titles(Walk const& walk)
{
    std::vector<std::string> all;
    for (WalkedElement const& element : walk.elements)
        all.push_back(element.title.value_or(""));
    return all;
}

std::string told(Walk const& walk)
{
    std::string text;
    for (WalkedElement const& one : walk.elements) {
        text += std::to_string(one.depth) + one.role + one.subrole.value_or("-") + one.title.value_or("-") +
                one.description.value_or("-") + one.identifier.value_or("-") + one.value.value_or("-");
        if (one.position && one.size)
            text += std::to_string(one.position->x) + "," + std::to_string(one.position->y) + "," +
                    std::to_string(one.size->width) + "," + std::to_string(one.size->height);
        for (std::string const& action : one.actions)
            text += "[" + action + "]";
        text += "\n";
    }
    return text;
}

/// A tree of about `count` elements with every kind of content.
json::array mixedTree(int elements, unsigned seed)
{
    json::array top;
    std::vector<json::object> pool;
    auto const next = [&seed] { return (seed = seed * 1664525u + 1013904223u) >> 16; };
    std::vector<int> const roles = {43, 61, 40, 11, 39, 29, 32, 33, 88, 62, 55};
    for (int at = 0; at < elements; ++at) {
        json::object node = {{"role", roles[next() % roles.size()]},
                             {"name", "n" + std::to_string(at)},
                             {"id", next() % 2 ? "id" + std::to_string(at) : ""},
                             {"extents", {static_cast<int>(next() % 300), 5, 40, 20}}};
        if (next() % 5 == 0)
            node["states"] = {8, 24, 30}; // Not showing.
        if (next() % 3 == 0)
            node["actions"] = {"click", "show menu"};
        if (next() % 4 == 0) {
            node["text"] = "text" + std::to_string(at);
            node["editable"] = true;
        }
        if (!pool.empty() && next() % 3 != 0) {
            json::array children;
            for (unsigned taken = next() % 4; taken > 0 && !pool.empty(); --taken) {
                children.push_back(pool.back());
                pool.pop_back();
            }
            node["children"] = std::move(children);
            node.erase("states"); // What is out of sight has nothing in it.
        }
        pool.push_back(std::move(node));
    }
    for (json::object& node : pool)
        top.push_back(std::move(node));
    return top;
}

} // namespace

TEST(AtspiReader, readsWhatTheApplicationSays)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow({{{"role", 43},
                                                   {"name", "Save"},
                                                   {"description", "Saves it"},
                                                   {"id", "save"},
                                                   {"extents", {30, 40, 80, 24}},
                                                   {"states", {8, 12, 24, 25, 30}},
                                                   {"actions", {"click", "show menu", "grow"}}},
                                                  {{"role", 61},
                                                   {"name", "Notes"},
                                                   {"text", "a note"},
                                                   {"editable", true},
                                                   {"states", {7, 24, 25, 30, 17}}}},
                                                 {{"toolkit", "gtk"}});
    auto const reader = fixture.reader(application);

    Walk const seen = fixture.walk(*reader);

    ASSERT_THAT(seen.elements, SizeIs(3));
    EXPECT_EQ(seen.elements[0].role, "AXWindow");
    EXPECT_EQ(seen.elements[0].subrole, "AXStandardWindow");
    WalkedElement const& save = seen.elements[1];
    EXPECT_EQ(save.role, "AXButton");
    EXPECT_EQ(save.subrole, std::nullopt);
    EXPECT_EQ(save.title, "Save");
    EXPECT_EQ(save.description, "Saves it");
    EXPECT_EQ(save.identifier, "save");
    EXPECT_EQ(save.position, (DesktopPoint{30, 40}));
    EXPECT_EQ(save.size, (DesktopSize{80, 24}));
    EXPECT_THAT(save.actions, ElementsAre("AXPress", "AXShowMenu", "grow"));
    EXPECT_EQ(save.enabled, true);
    EXPECT_EQ(save.focused, true);
    EXPECT_EQ(save.value, std::nullopt);
    WalkedElement const& notes = seen.elements[2];
    EXPECT_EQ(notes.role, "AXTextArea");
    EXPECT_EQ(notes.value, "a note");
    EXPECT_EQ(notes.enabled, false);
    EXPECT_EQ(notes.focused, false);
    EXPECT_FALSE(seen.isTruncated);
}

TEST(AtspiReader, findsTheWindowsTheFocusedOneAndTheMenuBar)
{
    AtspiFixture fixture;
    json::object const bar = {{"role", 39}, {"children", {{{"role", 34}, {"name", "bar"}}}}};
    auto const application = fixture.serve(
        {{"tree",
          {{"role", 75},
           {"children",
            {{{"role", 23}, {"name", "first"}},
             {{"role", 20}, {"name", "plain"}},
             {{"role", 23}, {"name", "hidden"}, {"states", {8}}},
             {{"role", 23}, {"name", "gone"}, {"states", {6, 25, 30}}},
             {{"role", 16}, {"name", "second"}, {"states", {1, 25, 30}}, {"children", {bar}}}}}}}});
    auto const reader = fixture.reader(application);

    auto const windows = reader->elements(reader->application(), AccessibilityAttribute::windows);
    auto const focused = reader->element(reader->application(), AccessibilityAttribute::focusedWindow);
    auto const menus = reader->element(reader->application(), AccessibilityAttribute::menuBar);

    ASSERT_TRUE(windows && focused && menus);
    ASSERT_THAT(*windows, SizeIs(3));
    EXPECT_EQ(reader->text((*windows)[0], title), "first");
    EXPECT_EQ(reader->text((*windows)[1], title), "plain"); // A window whatever it calls itself.
    EXPECT_EQ(*focused, (*windows)[2]);
    EXPECT_EQ(reader->text(*focused, subrole), "AXDialog");
    EXPECT_EQ(reader->text(*menus, title), "bar");
    EXPECT_EQ(reader->text(reader->application(), role), "AXApplication");
    EXPECT_FALSE(reader->hasFallenSilent());
}

TEST(AtspiReader, readsTheSameAheadAndOneByOne)
{
    AtspiFixture fixture;
    for (std::string const toolkit : {"gtk", "Qt", "Chromium"}) {
        auto const application = fixture.serveWindow(mixedTree(600, 7), {{"toolkit", toolkit}});
        auto const ahead = fixture.reader(application, 5s);
        auto const behind = fixture.reader(application, 5s);

        Walk const quick = fixture.walk(*ahead, {.maxDepth = 600, .budget = 30s});
        Walk const slow = fixture.walk(*behind, {.maxDepth = 600, .budget = 30s, .readsAhead = false});

        EXPECT_GT(quick.elements.size(), 500u);
        EXPECT_EQ(told(quick), told(slow)) << toolkit;
    }
}

TEST(AtspiReader, neverAsksForTheTextOfAPassword)
{
    AtspiFixture fixture;
    json::object const field = {{"role", 40},
                                {"name", "Password"},
                                {"text", "hunter2"},
                                {"editable", true},
                                {"states", {7, 8, 24, 25, 30}},
                                {"children",
                                 {{{"role", 116},
                                   {"name", "hunter2"},
                                   {"text", "hunter2"},
                                   {"editable", true},
                                   {"states", {7, 8, 24, 25, 30}}},
                                  {{"role", 26}, {"name", "Show"}}}}};
    for (std::string const toolkit : {"gtk", "Qt", "Chromium"}) {
        auto const application = fixture.serveWindow({field}, {{"toolkit", toolkit}});
        auto const reader = fixture.reader(application);

        Walk const seen = fixture.walk(*reader);
        for (WalkedElement const& element : seen.elements)
            EXPECT_EQ(reader->text(element.handle, value), std::nullopt);

        ASSERT_THAT(seen.elements, SizeIs(4));
        EXPECT_EQ(seen.elements[1].role, "AXSecureTextField");
        EXPECT_EQ(seen.elements[1].title, "Password");
        EXPECT_EQ(seen.elements[2].title, std::nullopt);
        EXPECT_EQ(seen.elements[3].title, "Show");
        EXPECT_EQ(application.countOf("GetText"), 0u) << toolkit;
        EXPECT_EQ(told(seen).find("hunter2"), std::string::npos);
    }
}

TEST(AtspiReader, neverAsksQtForAllPropertiesAtOnce)
{
    AtspiFixture fixture;
    for (std::string const toolkit : {"Qt", "", "Something new"}) {
        auto const application = fixture.serveWindow(mixedTree(50, 3), {{"toolkit", toolkit}});

        fixture.walk(*fixture.reader(application));

        EXPECT_EQ(application.countOf("GetAll"), 0u) << toolkit;
        EXPECT_EQ(application.countOf("GetAttributes"), 0u) << toolkit;
    }
}

TEST(AtspiReader, givesActionsTheirNamesAndNotTheirTranslations)
{
    AtspiFixture fixture;
    json::object const button = {
        {"role", 43}, {"actions", {"click", "edit"}}, {"translated", {"Нажать", "Править"}}};
    auto const gtk = fixture.serveWindow({button, button, button}, {{"toolkit", "gtk"}});
    auto const chromium = fixture.serveWindow(
        {{{"role", 88}, {"actions", {"jump", "showContextMenu"}}, {"translated", {"", ""}}},
         {{"role", 85}, {"actions", {"doDefault", "showContextMenu"}}, {"translated", {"", ""}}}},
        {{"toolkit", "Chromium"}});
    // LibreOffice translates no action's name, and all of its actions count.
    auto const office = fixture.serveWindow(
        {{{"role", 48}, {"actions", {"decrementLine", "incrementLine"}}, {"translated", {"", ""}}}},
        {{"toolkit", "gtk"}});

    Walk const seen = fixture.walk(*fixture.reader(gtk));
    Walk const page = fixture.walk(*fixture.reader(chromium));
    Walk const bar = fixture.walk(*fixture.reader(office));

    ASSERT_THAT(seen.elements, SizeIs(4));
    for (WalkedElement const& one : seen.elements)
        if (one.role == "AXButton")
            EXPECT_THAT(one.actions, ElementsAre("AXPress", "edit"));
    ASSERT_THAT(page.elements, SizeIs(3));
    EXPECT_THAT(page.elements[1].actions, ElementsAre("AXPress"));
    EXPECT_THAT(page.elements[2].actions, IsEmpty());
    ASSERT_THAT(bar.elements, SizeIs(2));
    EXPECT_THAT(bar.elements[1].actions, ElementsAre("decrementLine", "incrementLine"));
}

TEST(AtspiReader, learnsTheNameOfAnActionOnce)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow(
        {{{"role", 43}, {"repeat", 100}, {"actions", {"click"}}, {"translated", {"Нажать"}}}},
        {{"toolkit", "gtk"}});

    fixture.walk(*fixture.reader(application), {.readsAhead = false});

    EXPECT_EQ(application.countOf("GetActions"), 101u); // The window's too.
    EXPECT_EQ(application.countOf("GetName"), 1u);
}

TEST(AtspiReader, givesFieldsTheWordsOfTheirLabels)
{
    AtspiFixture fixture;
    json::array const children = {{{"role", 29}, {"name", "Your name"}, {"label", "a"}},
                                  {{"role", 61}, {"editable", true}, {"labelledBy", "a"}},
                                  {{"role", 61}, {"editable", true}, {"name", "Own"}, {"labelledBy", "a"}},
                                  {{"role", 43}, {"labelledBy", "a"}},
                                  {{"role", 40}}};
    auto const application = fixture.serveWindow(children, {{"toolkit", "gtk"}});

    Walk const seen = fixture.walk(*fixture.reader(application));

    ASSERT_THAT(seen.elements, SizeIs(6));
    EXPECT_EQ(seen.elements[2].title, "Your name");
    EXPECT_EQ(seen.elements[3].title, "Own");
    EXPECT_EQ(seen.elements[4].title, std::nullopt); // A button, which has words of its own.
    EXPECT_EQ(seen.elements[5].title, std::nullopt);
    EXPECT_EQ(application.countOf("GetRelationSet"), 2u);
}

TEST(AtspiReader, asksQtForNoMoreTextThanThereIs)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow(
        {{{"role", 61}, {"editable", true}, {"text", "several lines"}}, {{"role", 61}, {"editable", true}}},
        {{"toolkit", "Qt"}});

    Walk const seen = fixture.walk(*fixture.reader(application));

    ASSERT_THAT(seen.elements, SizeIs(3));
    EXPECT_EQ(seen.elements[1].value, "several lines");
    EXPECT_EQ(seen.elements[2].value, "");
}

TEST(AtspiReader, asksForNoMoreOfAParagraphThanThereIs)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow({{{"role", 73},
                                                   {"editable", true},
                                                   {"text", "Dear reader,"},
                                                   {"states", {7, 8, 17, 25, 30}},
                                                   {"repeat", 2}},
                                                  {{"role", 61}, {"editable", true}, {"text", "field"}}},
                                                 {{"toolkit", "gtk"}});

    Walk const seen = fixture.walk(*fixture.reader(application));

    ASSERT_THAT(seen.elements, SizeIs(4));
    EXPECT_EQ(seen.elements[1].value, "Dear reader,");
    EXPECT_EQ(seen.elements[2].value, "Dear reader,");
    EXPECT_EQ(seen.elements[3].value, "field");
}

TEST(AtspiReader, asksForAttributesOnlyWhereTheWebTreeExists)
{
    AtspiFixture fixture;
    json::object const button = {{"role", 43}, {"name", "Go"}, {"id", "go"}};
    auto const asleep = fixture.serveWindow({button}, {{"toolkit", "Chromium"}});
    auto const awake = fixture.serveWindow({{{"role", 95}, {"name", "page"}, {"children", {button}}}},
                                           {{"toolkit", "Chromium"}});

    Walk const before = fixture.walk(*fixture.reader(asleep));
    Walk const after = fixture.walk(*fixture.reader(awake));

    EXPECT_EQ(asleep.countOf("GetAttributes"), 0u);
    ASSERT_TRUE(before.find("Go") && after.find("Go"));
    EXPECT_EQ(before.find("Go")->identifier, std::nullopt);
    EXPECT_EQ(after.find("Go")->identifier, "go");
}

TEST(AtspiReader, asksOnlyWhatIsGoingToBeWanted)
{
    AtspiFixture fixture;
    auto const application =
        fixture.serveWindow({{{"role", 29}, {"name", "label"}, {"repeat", 50}, {"extents", {0, 0, 50, 50}}},
                             {{"role", 43}, {"name", "hidden"}, {"repeat", 50}, {"states", {8, 24}}},
                             {{"role", 43}, {"name", "button"}, {"repeat", 10}}},
                            {{"toolkit", "gtk"}});
    auto const reader = fixture.reader(application);

    fixture.walk(*reader, {.describes = [](std::string_view axRole) { return axRole == "AXButton"; }});

    EXPECT_EQ(application.countOf("GetRole"), 112u);
    EXPECT_EQ(application.countOf("GetExtents"), 11u); // The window's too.
    EXPECT_EQ(application.countOf("GetActions"), 10u);
    EXPECT_EQ(application.countOf("GetText"), 0u);
}

TEST(AtspiReader, looksForNothingInAButtonOutOfSight)
{
    AtspiFixture fixture;
    json::array const inside = {{{"role", 29}, {"name", "inside"}}};
    json::array const parts = {
        {{"role", 43}, {"name", "button"}, {"states", {8, 24, 30}}, {"children", inside}},
        {{"role", 39}, {"name", "panel"}, {"states", {8, 24, 30}}, {"children", inside}},
        {{"role", 43}, {"name", "shown"}, {"children", inside}}};
    for (std::string const toolkit : {"gtk", "Chromium", "Qt"}) {
        auto const application = fixture.serveWindow(parts, {{"toolkit", toolkit}});

        Walk const seen = fixture.walk(*fixture.reader(application));

        EXPECT_THAT(seen.elements, SizeIs(toolkit == "Qt" ? 7 : 6)) << toolkit;
        EXPECT_EQ(application.count("2 GetChildren"), toolkit == "Qt" ? 1u : 0u) << toolkit;
    }
}

TEST(AtspiReader, boundsTexts)
{
    AtspiFixture fixture;
    std::string const huge(1u << 20, 'x');
    std::string const rightToLeft{'\xe2', '\x80', '\xae'}; // U+202E, which turns the letters after it round.
    std::string const odd = "a\x01\x1b[2J" + rightToLeft + "b\u200fc";
    auto const application = fixture.serveWindow({{{"role", 43}, {"name", huge}, {"description", huge}},
                                                  {{"role", 43}, {"name", odd}},
                                                  {{"role", 61},
                                                   {"name", "field"},
                                                   {"text", huge},
                                                   {"editable", true},
                                                   {"states", {7, 8, 24, 25, 30}}}});

    Walk const seen = fixture.walk(*fixture.reader(application));

    ASSERT_THAT(seen.elements, SizeIs(4));
    EXPECT_EQ(seen.elements[1].title.value_or("").size(), 64u << 10);
    EXPECT_EQ(seen.elements[1].description.value_or("").size(), 64u << 10);
    EXPECT_EQ(seen.elements[2].title, odd);
    EXPECT_EQ(seen.elements[3].value, std::string(1000, 'x'));
}

TEST(AtspiReader, boundsAllTextsTogether)
{
    AtspiFixture fixture;
    std::string const huge(64u << 10, 'x');
    auto const application = fixture.serveWindow(
        {{{"role", 43}, {"name", huge}, {"repeat", 200}}, {{"role", 43}, {"name", "last"}}});
    auto const reader = fixture.reader(application, 5s);

    Walk const seen = fixture.walk(*reader, {.budget = 20s});

    ASSERT_THAT(seen.elements, SizeIs(202));
    std::size_t told = 0;
    for (WalkedElement const& one : seen.elements)
        told += one.title.value_or("").size();
    EXPECT_GT(told, 7u << 20);
    EXPECT_LE(told, 8u << 20);
    EXPECT_EQ(seen.elements[1].title, huge);
    EXPECT_EQ(seen.elements.back().title, "last");
    EXPECT_TRUE(reader->hasFallenSilent());
    EXPECT_FALSE(seen.isTruncated);
}

/// Names as long as they may be, of characters that grow most in JSON.
json::array hostileActions()
{
    json::array names;
    for (int at = 0; at < 64; ++at)
        names.emplace_back(std::to_string(at) + std::string(254, '\1'));
    return names;
}

TEST(AtspiReader, boundsTheNamesOfAllActionsTogether)
{
    AtspiFixture fixture;
    json::object const button = {
        {"role", 43}, {"name", "b"}, {"repeat", 1'000}, {"actions", hostileActions()}};
    json::object translated = button;
    translated["translated"] = hostileActions(); // The original names are asked for one by one.
    for (auto const& [toolkit, described] : {std::pair("Qt", button), std::pair("gtk", translated)}) {
        auto const application = fixture.serveWindow({described}, {{"toolkit", toolkit}});
        auto const reader = fixture.reader(application);

        Walk const seen = fixture.walk(*reader, {.budget = 20s});

        std::size_t told = 0;
        for (WalkedElement const& one : seen.elements)
            for (std::string const& action : one.actions)
                told += action.size();
        EXPECT_GT(told, 7u << 20) << toolkit;
        EXPECT_LE(told, 8u << 20) << toolkit;
        EXPECT_THAT(seen.elements, SizeIs(1'001)) << toolkit;
        EXPECT_TRUE(reader->hasFallenSilent()) << toolkit;
    }
}

TEST(AtspiReader, meetsEachElementOnce)
{
    AtspiFixture fixture;
    // A cycle, an element in two places, the application and the null reference as children, a stale child.
    auto const application = fixture.serve(
        {{"tree",
          {{"role", 75},
           {"label", "application"},
           {"children",
            {{{"role", 23},
              {"name", "window"},
              {"label", "window"},
              {"children",
               {{{"role", 43}, {"name", "one"}, {"label", "one"}, {"children", {{{"same", "window"}}}}},
                {{"same", "one"}},
                {{"same", "application"}},
                {{"role", 43}, {"path", "/org/a11y/atspi/null"}},
                {{"role", 43}, {"path", "/org/a11y/atspi/accessible/99999"}},
                {{"role", 43}, {"name", "gone"}, {"states", {6, 25, 30}}},
                {{"role", 43}, {"name", "two"}, {"children", {{{"same", "one"}}}}}}}}}}}}});
    auto const reader = fixture.reader(application);

    Walk const seen = fixture.walk(*reader);

    EXPECT_THAT(titles(seen), ElementsAre("window", "one", "two"));
    EXPECT_FALSE(seen.isTruncated);
}

TEST(AtspiReader, bearsLiesAboutTheNumberOfChildren)
{
    AtspiFixture fixture;
    json::array const rows = {{{"role", 32}, {"name", "row"}, {"repeat", 3}}};
    for (std::string const toolkit : {"gtk", "Qt"})
        for (int const claim : {-5, 1, 2'000'000'000}) {
            json::array const children = {
                {{"role", 55},
                 {"name", "table"},
                 {"states", {24, 25, 30, 31}},
                 {"claims", claim},
                 {"children", rows}},
                {{"role", 31}, {"name", "list"}, {"claims", claim}, {"children", rows}}};
            auto const application = fixture.serveWindow(children, {{"toolkit", toolkit}});

            Walk const seen = fixture.walk(*fixture.reader(application));

            EXPECT_THAT(seen.elements, SizeIs(9)) << claim;
        }
}

TEST(AtspiReader, readsTheFirstRowsOfALongTable)
{
    AtspiFixture fixture;
    auto const application =
        fixture.serveWindow({{{"role", 66},
                              {"name", "table"},
                              {"states", {24, 25, 30, 31}},
                              {"children", {{{"role", 56}, {"name", "row"}, {"repeat", 5000}}}}}});

    Walk const seen = fixture.walk(*fixture.reader(application), {.budget = 10s});

    EXPECT_THAT(seen.elements, SizeIs(502));
    EXPECT_EQ(seen.elements.back().title, "row499");
    EXPECT_EQ(application.count("2 GetChildren"), 0u);
}

TEST(AtspiReader, asksGtkForTheChildrenOfALongListOneByOne)
{
    AtspiFixture fixture;
    auto const application =
        fixture.serveWindow({{{"role", 43}, {"name", "b"}, {"repeat", 3000}}}, {{"toolkit", "gtk"}});
    auto const reader = fixture.reader(application);
    auto const windows = reader->elements(reader->application(), AccessibilityAttribute::windows);
    ASSERT_TRUE(windows && windows->size() == 1);

    auto const found = reader->elements(windows->front(), children);

    ASSERT_TRUE(found);
    ASSERT_THAT(*found, SizeIs(3000));
    EXPECT_EQ(reader->text(found->back(), title), "b2999");
    EXPECT_EQ(application.count("1 GetChildren"), 0u);
}

TEST(AtspiReader, boundsTheNumberOfChildren)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow({{{"role", 43}, {"name", "b"}, {"repeat", 100'000}}});
    // The application needs time for a list this long.
    auto const reader = fixture.reader(application, 5s);
    auto const windows = reader->elements(reader->application(), AccessibilityAttribute::windows);
    ASSERT_TRUE(windows && windows->size() == 1);

    EXPECT_THAT(reader->elements(windows->front(), children).value_or(std::vector<AccessibilityElement>()),
                SizeIs(10'000));

    Walk const seen = fixture.walk(*fixture.reader(application, 5s), {.budget = 10s});
    EXPECT_TRUE(seen.isTruncated);
    EXPECT_LT(seen.took, 10s);
    EXPECT_LT(application.countOf("GetRole"), 2'100u); // Of 1500 that were wanted.
}

TEST(AtspiReader, readsNoDeeperThanTheWalk)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow({{{"role", 39}, {"name", "level"}, {"deep", 10'000}}});
    auto const reader = fixture.reader(application);

    Walk const seen = fixture.walk(*reader);

    EXPECT_THAT(seen.elements, SizeIs(26));
    EXPECT_TRUE(seen.isTruncated);
    EXPECT_EQ(application.countOf("GetRole"), 27u); // The application's too.
}

TEST(AtspiReader, readsElementsOfOtherProcessesWhereThatIsAllowed)
{
    AtspiFixture fixture;
    auto const other = fixture.serve({{"tree", {{"role", 39}, {"name", "inside"}}}});
    std::string const name = fixture.desktop.processes().output(other.pid);
    std::string const busName = name.substr(name.find(':'), name.find('\n', name.find(':')) - name.find(':'));
    auto const application = fixture.serveWindow(
        {{{"role", 39}, {"foreign", busName}, {"path", "/org/a11y/atspi/accessible/root"}},
         {{"role", 43}, {"name", "own"}},
         {{"role", 39}, {"foreign", ":1.99999"}, {"path", "/org/a11y/atspi/accessible/root"}}});
    std::vector<std::int32_t> asked;

    Walk const allowed = fixture.walk(*fixture.reader(application), {.allowsProcess = [&](std::int32_t pid) {
        asked.push_back(pid);
        return true;
    }});
    std::size_t const callsThen = other.calls().size();
    Walk const refused =
        fixture.walk(*fixture.reader(application), {.allowsProcess = [](std::int32_t) { return false; }});
    Walk const unasked = fixture.walk(*fixture.reader(application));

    EXPECT_THAT(titles(allowed), ElementsAre("window", "inside", "own"));
    EXPECT_THAT(asked, ElementsAre(other.pid));
    EXPECT_THAT(titles(refused), ElementsAre("window", "own"));
    EXPECT_THAT(titles(unasked), ElementsAre("window", "own"));
    EXPECT_EQ(other.calls().size(), callsThen);
}

TEST(AtspiReader, usesTheApplicationsOwnSocket)
{
    AtspiFixture fixture;
    auto const direct = fixture.serveWindow(mixedTree(100, 5), {{"toolkit", "gtk"}, {"direct", true}});
    auto const onBus = fixture.serveWindow(mixedTree(100, 5), {{"toolkit", "gtk"}});

    Walk const first = fixture.walk(*fixture.reader(direct));
    Walk const second = fixture.walk(*fixture.reader(onBus));

    EXPECT_GT(first.elements.size(), 90u);
    EXPECT_EQ(told(first), told(second));
}

TEST(AtspiReader, findsApplicationsThatComeAfterThoseThatAreKnown)
{
    AtspiFixture fixture;
    auto const manners = boost::json::object{{"toolkit", "gtk"}, {"direct", true}};
    auto const first = fixture.serveWindow({{{"role", 43}, {"name", "first"}}}, manners);
    for (int i = 0; i < 3; ++i)
        EXPECT_THAT(titles(fixture.walk(*fixture.reader(first))), ElementsAre("window", "first")) << i;

    auto const second = fixture.serveWindow({{{"role", 43}, {"name", "second"}}}, manners);
    for (int i = 0; i < 3; ++i) {
        EXPECT_THAT(titles(fixture.walk(*fixture.reader(second))), ElementsAre("window", "second")) << i;
        EXPECT_THAT(titles(fixture.walk(*fixture.reader(first))), ElementsAre("window", "first")) << i;
    }
}

TEST(AtspiReader, forgetsAnApplicationThatHasEnded)
{
    AtspiFixture fixture;
    auto const application =
        fixture.serveWindow({{{"role", 43}, {"name", "b"}}}, {{"toolkit", "gtk"}, {"direct", true}});
    fixture.walk(*fixture.reader(application));
    fixture.walk(*fixture.reader(application));

    fixture.desktop.processes().end(application.pid, SIGKILL);

    auto const gone = [&] { return fixture.reader(application)->isOnBus() == false; };
    EXPECT_TRUE(waitFor(gone));
}

TEST(AtspiReader, forgetsWhatItKnewWithEachPlan)
{
    AtspiFixture fixture;
    auto const application = fixture.serveWindow({{{"role", 43}, {"name", "b"}}});
    auto const reader = fixture.reader(application);

    Walk const first = fixture.walk(*reader);
    Walk const second = fixture.walk(*reader);

    EXPECT_EQ(told(first), told(second));
    EXPECT_EQ(application.count("2 GetExtents"), 2u);
}

TEST(AtspiReader, knowsNothingWithoutAnApplication)
{
    AtspiFixture fixture;
    auto const reader = fixture.accessibility->reader(::getpid(), 250ms);

    EXPECT_EQ(reader->text(reader->application(), role), std::nullopt);
    EXPECT_EQ(reader->elements(reader->application(), AccessibilityAttribute::windows), std::nullopt);
    EXPECT_EQ(reader->element(reader->application(), AccessibilityAttribute::menuBar), std::nullopt);
    EXPECT_EQ(reader->position(reader->application()), std::nullopt);
    EXPECT_THAT(reader->actionNames({17}), IsEmpty());
    EXPECT_FALSE(reader->setFlag(reader->application(), manualAccessibility, true));
}

} // namespace zelvo::test
