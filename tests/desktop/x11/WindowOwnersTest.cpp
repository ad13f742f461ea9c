#include "platform/linux/x11/windows/WindowOwners.h"

#include "platform/linux/x11/windows/WindowEntries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

using testing::ElementsAre;

constexpr std::int32_t ownPid = 10;

ProcessFacts noFacts(std::int32_t)
{
    return {};
}

SurveyedWindow window(std::uint32_t id, std::int32_t pid, std::string className)
{
    SurveyedWindow made;
    made.id = id;
    made.viewable = true;
    made.area = {0, 0, 100, 100};
    made.client = {.id = id + 1000, .pid = pid, .words = {.className = std::move(className)}};
    return made;
}

struct Owners {
    WindowSurvey survey;
    DesktopEntryIndex index;
    WindowOwners take() const { return WindowOwners(survey, index, ownPid, noFacts); }
};

constexpr std::int32_t office = 20;
constexpr std::int32_t editor = 30;
constexpr std::int32_t portal = 40;

DesktopEntryIndex entries()
{
    return DesktopEntryIndex({
        {.id = "writer",
         .name = "Writer",
         .startupWmClass = "office-writer",
         .executable = "/opt/office",
         .file = "/a/writer.desktop"},
        {.id = "calc",
         .name = "Calc",
         .startupWmClass = "office-calc",
         .executable = "/opt/office",
         .file = "/a/calc.desktop"},
        {.id = "editor", .name = "Editor", .executable = "/usr/bin/editor", .file = "/a/editor.desktop"},
        {.id = "dev.zelvo.agent", .name = "Z", .file = "/a/zelvo.desktop"},
    });
}

ProcessFacts facts(std::int32_t pid)
{
    char const* const programs[] = {"/opt/office", "/usr/bin/editor", "/usr/bin/python3.11"};
    return {.pid = pid, .executable = pid >= office && pid <= portal ? programs[pid / 10 - 2] : ""};
}

/// A desktop with stacked windows, each named by its client's id.
struct Desktop {
    WindowSurvey survey;
    DesktopEntryIndex index = entries();

    ClientWindow& add(std::int32_t pid, std::string className)
    {
        auto const id = static_cast<std::uint32_t>(survey.windows.size() + 1);
        survey.windows.push_back(window(id, pid, std::move(className)));
        return survey.windows.back().client;
    }
    ClientWindow& leader(std::uint32_t id, std::int32_t pid, std::string className)
    {
        return survey.leaders.emplace_back(
            ClientWindow{.id = id, .pid = pid, .words = {.className = std::move(className)}});
    }
    WindowOwners owners() const { return WindowOwners(survey, index, ownPid, facts); }
    /// The windows in order, each with its process if it belongs to another client.
    std::vector<std::string> identifiers() const
    {
        std::vector<std::string> all;
        WindowOwners const taken = owners();
        for (SurveyedWindow const& each : survey.windows)
            all.push_back(taken.namesOf(each.client).identifier().value_or(""));
        return all;
    }
    /// The windows that are hidden if this name is.
    std::vector<std::size_t> hiddenBy(std::string const& name) const
    {
        std::vector<std::size_t> all;
        WindowOwners const taken = owners();
        for (std::size_t i = 0; i < survey.windows.size(); ++i)
            if (taken.namesOf(survey.windows[i].client).isHidden({name}))
                all.push_back(i);
        return all;
    }
};

constexpr std::uint32_t clientOf(std::uint32_t id)
{
    return id + 1000;
}

TEST(WindowApplications, knowThisProgramByItsProcessIdAlone)
{
    Desktop desktop;
    desktop.add(ownPid, "Somebody");
    desktop.add(editor, "dev.zelvo.agent");
    desktop.add(portal, "Dialog").transientFor = clientOf(1);
    desktop.add(portal, "Palette").leader = clientOf(1);

    EXPECT_THAT(desktop.identifiers(), ElementsAre("dev.zelvo.agent", "editor", "Dialog", "Palette"));
    EXPECT_FALSE(desktop.owners().namesOf(desktop.survey.windows[2].client).answersTo("dev.zelvo.agent"));
    // Another process's dialog for a window of ours is left out of pictures like the window.
    EXPECT_THAT(desktop.hiddenBy("dev.zelvo.agent"), ElementsAre(0, 2));
}

TEST(WindowApplications, areThoseOfTheWindowThatADialogIsFor)
{
    Desktop desktop;
    desktop.add(office, "office-writer");
    desktop.add(office, "office-calc");
    desktop.add(office, "Soffice").transientFor = clientOf(1);
    desktop.add(office, "Soffice").transientFor = clientOf(3); // A dialog of the dialog.

    EXPECT_THAT(desktop.identifiers(), ElementsAre("writer", "calc", "writer", "writer"));
    EXPECT_THAT(desktop.hiddenBy("calc"), ElementsAre(0, 1, 2, 3)); // One program runs both.
    EXPECT_THAT(desktop.hiddenBy("office-calc"), ElementsAre(1));
    EXPECT_THAT(desktop.hiddenBy("SOFFICE"), ElementsAre(0, 2, 3));
    EXPECT_EQ(desktop.owners().application(desktop.survey.windows[2].client).localizedName, "Writer");
    EXPECT_EQ(desktop.owners().application(desktop.survey.windows[2].client).location, "/a/writer.desktop");
}

TEST(WindowApplications, areThoseOfTheGroupsLeader)
{
    Desktop desktop;
    desktop.add(office, "office-calc");
    desktop.add(office, "").leader = 77;
    desktop.add(portal, "Chooser").leader = 78;
    desktop.leader(77, office, "office-writer");
    desktop.leader(78, editor, "x"); // In another process.

    EXPECT_THAT(desktop.identifiers(), ElementsAre("calc", "writer", "editor"));
}

TEST(WindowApplications, areTheirOwnBeforeAnyOther)
{
    Desktop desktop;
    desktop.add(office, "office-calc");
    ClientWindow& own = desktop.add(editor, "Editor");
    own.transientFor = clientOf(1);
    own.leader = clientOf(1);

    EXPECT_THAT(desktop.identifiers(), ElementsAre("calc", "editor"));
    EXPECT_FALSE(desktop.owners().namesOf(own).answersTo("calc"));
    EXPECT_THAT(desktop.hiddenBy("calc"), ElementsAre(0, 1));
}

TEST(WindowApplications, areThatOfTheProcesssLastActiveWindow)
{
    Desktop desktop;
    desktop.add(office, "office-calc");
    desktop.add(office, "Tip");
    desktop.add(office, "office-writer");
    desktop.add(portal, "Other");

    EXPECT_THAT(desktop.identifiers(), ElementsAre("calc", "writer", "writer", "Other"));
    // It could belong to either of them.
    EXPECT_THAT(desktop.hiddenBy("office-calc"), ElementsAre(0, 1));
    EXPECT_THAT(desktop.hiddenBy("office-writer"), ElementsAre(1, 2));

    desktop.survey.windows.pop_back();
    desktop.survey.windows.pop_back();
    desktop.survey.others = {{.id = 9, .pid = office, .words = {.className = "office-writer"}}};
    EXPECT_THAT(desktop.identifiers(), ElementsAre("calc", "calc")); // A minimised one was active before.
}

TEST(WindowApplications, followAProcessIntoAnothersApplication)
{
    Desktop desktop;
    desktop.add(editor, "Editor");
    desktop.add(portal, "Chooser").transientFor = clientOf(1);
    desktop.add(portal, ""); // The chooser's list that drops down.

    EXPECT_THAT(desktop.identifiers(), ElementsAre("editor", "editor", "editor"));
    EXPECT_THAT(desktop.hiddenBy("editor"), ElementsAre(0, 1, 2));
    EXPECT_THAT(desktop.hiddenBy("chooser"), ElementsAre(1, 2));
    EXPECT_EQ(desktop.owners().application(desktop.survey.windows[1].client).pid, portal);
}

TEST(WindowApplications, areDecidedByProgramLastWhereSeveralShareIt)
{
    Desktop desktop;
    desktop.add(office, "Soffice");

    EXPECT_THAT(desktop.identifiers(), ElementsAre("calc")); // The first of the two.
    EXPECT_THAT(desktop.hiddenBy("writer"), ElementsAre(0));
}

TEST(WindowApplications, withoutAnEntryAreWhatTheWindowsSay)
{
    Desktop desktop;
    desktop.add(portal, "Script.py");
    desktop.add(portal, "");                                    // A menu.
    desktop.add(portal, "Toplevel").transientFor = clientOf(1); // A dialog.
    desktop.add(portal, "Tool");

    EXPECT_THAT(desktop.identifiers(), ElementsAre("Script.py", "Tool", "Script.py", "Tool"));
    EXPECT_THAT(desktop.hiddenBy("toplevel"), ElementsAre(0, 1, 2)); // The menu may be its.
    EXPECT_THAT(desktop.hiddenBy("python3.11"), ElementsAre(0, 1, 2, 3));
    EXPECT_EQ(desktop.owners().application(desktop.survey.windows[2].client).location, "running:Script.py");
}

TEST(WindowApplications, ofALoneWindowWithoutWordsAreItsProgram)
{
    Desktop desktop;
    desktop.add(portal, "");
    desktop.add(99, "");

    EXPECT_THAT(desktop.identifiers(), ElementsAre("python3.11", ""));
    EXPECT_EQ(desktop.owners().application(desktop.survey.windows[1].client).location, std::nullopt);
}

TEST(WindowApplications, endInCircles)
{
    Desktop desktop;
    desktop.add(portal, "First").transientFor = clientOf(3);
    desktop.add(portal, "Second").transientFor = clientOf(1);
    desktop.add(portal, "Third").transientFor = clientOf(2);
    desktop.add(portal, "Itself").transientFor = clientOf(4);
    desktop.add(portal, "Gone").transientFor = 4711;
    desktop.add(portal, "Leads").leader = clientOf(6);

    EXPECT_THAT(desktop.identifiers(), ElementsAre("First", "Second", "Third", "Itself", "Gone", "Leads"));
    EXPECT_THAT(desktop.hiddenBy("second"), ElementsAre(0, 1, 2));

    desktop.survey.windows[1].client.words.className = "Editor";
    EXPECT_THAT(desktop.identifiers(),
                ElementsAre("editor", "editor", "editor", "editor", "editor", "editor"));
}

TEST(WindowApplications, areHiddenWithAWindowThatTheyAreForWhoeverOwnsThem)
{
    Desktop desktop;
    desktop.add(office, "office-calc");
    desktop.add(editor, "Editor").transientFor = clientOf(3);
    desktop.add(portal, "Middle").transientFor = clientOf(1);

    EXPECT_THAT(desktop.identifiers(), ElementsAre("calc", "editor", "calc"));
    EXPECT_THAT(desktop.hiddenBy("office-calc"), ElementsAre(0, 1, 2));
    EXPECT_THAT(desktop.hiddenBy("editor"), ElementsAre(1));
}

TEST(WindowApplications, areHiddenWhateverElseTheyClaim)
{
    Desktop desktop;
    desktop.add(editor, "office-calc");
    desktop.survey.windows[0].client.words.gtkApplicationId = "calc";

    EXPECT_THAT(desktop.identifiers(), ElementsAre("calc"));
    EXPECT_THAT(desktop.hiddenBy("editor"), ElementsAre(0));
}

TEST(WindowApplications, haveTheNamesThatAnyOfTheirWindowsGivesThem)
{
    Desktop desktop;
    desktop.add(editor, "Editor");
    desktop.add(editor, "Preferences");
    desktop.survey.others = {{.id = 9, .pid = editor, .words = {.className = "Minimised"}}};

    EXPECT_THAT(desktop.identifiers(), ElementsAre("editor", "editor"));
    EXPECT_THAT(desktop.hiddenBy("preferences"), ElementsAre(0, 1));
    EXPECT_THAT(desktop.hiddenBy("minimised"), ElementsAre(0, 1));
}

TEST(WindowApplications, areHiddenWithAllOfTheProcessThatNobodyKnowsThemIn)
{
    Desktop desktop;
    desktop.add(portal, "Script.py");
    desktop.add(portal, ""); // A menu, of either.
    desktop.add(portal, "Tool");

    EXPECT_THAT(desktop.identifiers(), ElementsAre("Script.py", "Tool", "Tool"));
    EXPECT_THAT(desktop.hiddenBy("script.py"), ElementsAre(0, 1));
    EXPECT_THAT(desktop.hiddenBy("tool"), ElementsAre(1, 2));
}

/// The dialog's application is known by its process alone, and so is that of what it opens.
TEST(WindowApplications, areThatOfADialogWhateverDecidesIt)
{
    Desktop desktop;
    desktop.add(office, "office-calc");
    desktop.add(office, "office-writer");
    desktop.add(office, "Soffice");
    desktop.add(portal, "Chooser").transientFor = clientOf(3);
    desktop.add(portal, "List").leader = clientOf(3);
    desktop.add(editor, "Editor").transientFor = clientOf(3);

    EXPECT_THAT(desktop.identifiers(), ElementsAre("calc", "writer", "writer", "writer", "writer", "editor"));
    EXPECT_THAT(desktop.hiddenBy("office-writer"), ElementsAre(1, 2, 3, 4, 5));
    EXPECT_THAT(desktop.hiddenBy("office-calc"), ElementsAre(0, 2, 3, 4, 5)); // It may be calc's.
}

TEST(WindowApplications, areHiddenWithWhatTheWindowsOfTheirProcessAreFor)
{
    Desktop desktop;
    desktop.add(editor, "Editor");
    desktop.add(office, "office-calc");
    desktop.add(office, "office-writer").transientFor = clientOf(1);
    desktop.add(office, "Tip"); // Of any of them.

    EXPECT_THAT(desktop.identifiers(), ElementsAre("editor", "calc", "writer", "writer"));
    EXPECT_THAT(desktop.hiddenBy("editor"), ElementsAre(0, 2, 3));
}

/// A program may make as many as it likes.
TEST(WindowApplications, endInAnyLengthOfAChain)
{
    Desktop desktop;
    desktop.add(office, "office-calc");
    for (std::uint32_t id = 1; id < 200; ++id)
        desktop.add(portal, "Link").transientFor = clientOf(id);

    EXPECT_EQ(desktop.hiddenBy("office-calc").size(), 200u);
}

TEST(WindowApplications, ofUnknownProcessesAreTheirWords)
{
    Desktop desktop;
    desktop.add(0, "office-calc").pid.reset();
    desktop.add(0, "Soffice").pid.reset();

    EXPECT_THAT(desktop.identifiers(), ElementsAre("calc", "Soffice"));
    EXPECT_THAT(desktop.hiddenBy("soffice"), ElementsAre(1));
}

TEST(WindowOwners, hideAWindowWithTheClientsEmbeddedInIt)
{
    Desktop desktop;
    desktop.add(editor, "Panel");
    desktop.survey.windows[0].embedded = {
        {.client = {.id = 7, .pid = office, .words = {.className = "office-calc"}}}};
    WindowOwners const owners = desktop.owners();

    EXPECT_EQ(owners.namesOf(desktop.survey.windows[0]).identifier(), "editor");
    EXPECT_TRUE(owners.namesOf(desktop.survey.windows[0]).isHidden({"calc"}));
    EXPECT_FALSE(owners.namesOf(desktop.survey.windows[0].client).isHidden({"calc"}));
}

TEST(WindowOwners, hideAWindowWithUnknownClientsInsideIfAnythingIs)
{
    Desktop desktop;
    desktop.add(editor, "Editor");
    desktop.add(portal, "Other");
    desktop.survey.windows[0].hasUnknownInside = true;
    WindowOwners const owners = desktop.owners();
    ApplicationNames const& names = owners.namesOf(desktop.survey.windows[0].client);

    EXPECT_EQ(names.identifier(), "editor");
    EXPECT_TRUE(names.isHidden({"somebody"}));
    EXPECT_FALSE(names.isHidden({}));
    EXPECT_FALSE(names.isHidden({"dev.zelvo.agent"})); // Pictures always leave it out.
    EXPECT_FALSE(owners.namesOf(desktop.survey.windows[1].client).isHidden({"somebody"}));
    ApplicationNames around{{"shell"}};
    around.hideWith(names);
    EXPECT_TRUE(around.isHidden({"somebody"}));
}

TEST(WindowOwners, tellWhereAnApplicationIs)
{
    Desktop desktop;
    desktop.add(ownPid, "Somebody");
    desktop.add(editor, "Editor");
    desktop.add(portal, "Unknown");
    WindowOwners const owners = desktop.owners();
    auto const at = [&](std::size_t i) { return owners.application(desktop.survey.windows[i].client); };

    EXPECT_EQ(at(0).location, "/a/zelvo.desktop");
    EXPECT_EQ(at(1).location, "/a/editor.desktop");
    EXPECT_EQ(at(1).bundlePath, "/usr/bin");
    EXPECT_EQ(at(2).location, "running:Unknown");
}

TEST(WindowEntries, haveTheirTitles)
{
    Owners owners;
    owners.survey.windows = {window(1, 20, "Keeper")};
    owners.survey.windows[0].client.title = "Заметки";

    EXPECT_EQ(windowEntries(owners.survey, owners.take(), {}).at(0).title, "Заметки");
}

TEST(WindowEntries, leaveOutWhatNobodyCanClick)
{
    Owners owners;
    for (std::uint32_t id = 1; id <= 5; ++id)
        owners.survey.windows.push_back(window(id, 20, "A"));
    owners.survey.windows[0].inputOnly = true;
    owners.survey.windows[1].emptyInputShape = true;
    owners.survey.windows[2].windowManagers = true;
    owners.survey.windows[3].windowManagers = true;
    owners.survey.windows[3].embedded = {{.client = {.id = 7, .pid = 30}, .area = {0, 0, 64, 64}}};

    auto const entries = windowEntries(owners.survey, owners.take(), {});

    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].id, 5u);
    EXPECT_EQ(entries[0].ownerPid, 20);
    EXPECT_EQ(entries[1].id, 4u); // A dock.
}

/// Its icons can be clicked, so the guards must see it.
TEST(WindowEntries, tellADesktopFromWindows)
{
    Owners owners;
    owners.survey.windows = {window(1, 20, "Desktop"), window(2, 20, "A")};
    owners.survey.windows[0].desktop = true;

    auto const entries = windowEntries(owners.survey, owners.take(), {});

    ASSERT_EQ(entries.size(), 2u);
    EXPECT_FALSE(entries[0].isDesktop);
    EXPECT_TRUE(entries[1].isDesktop);
}

TEST(WindowEntries, haveTheirLayers)
{
    Owners owners;
    for (std::uint32_t id = 1; id <= 6; ++id)
        owners.survey.windows.push_back(window(id, id <= 2 ? ownPid : 20, "A"));
    auto& windows = owners.survey.windows;
    windows[0].overrideRedirect = true;
    windows[1].dock = true;
    windows[2].overrideRedirect = true;
    windows[3].dock = true;
    windows[4].above = true;

    auto const entries = windowEntries(owners.survey, owners.take(), {});

    std::vector<int> layers;
    for (auto const& entry : entries)
        layers.push_back(entry.layer);
    EXPECT_THAT(layers, ElementsAre(0, 3, 3, 25, 8, 8)); // Front to back.
}

TEST(WindowEntries, haveBoundsInPointsWithoutShadows)
{
    Owners owners;
    owners.survey.windows = {window(1, 20, "A")};
    owners.survey.windows[0].area = {700, 80, 240, 140};
    owners.survey.windows[0].frameExtents = {20, 20, 10, 30};
    DisplayLayout const layout{.origin = {600, 0}, .widthPixels = 1000, .heightPixels = 800, .scale = 2};

    auto const entries = windowEntries(owners.survey, owners.take(), layout);

    EXPECT_EQ(entries[0].bounds, (DesktopRect{60, 45, 100, 50}));
}

TEST(WindowEntries, haveTheirPartsAndGuestsInPoints)
{
    Owners owners;
    owners.survey.windows = {window(1, 20, "A"), window(2, 20, "B"), window(3, 20, "C")};
    auto& windows = owners.survey.windows;
    for (SurveyedWindow& each : windows)
        each.area = {600, 0, 200, 100};
    windows[1].shaped = true;
    windows[1].shape = PixelRegion(PixelRect{600, 0, 100, 100});
    windows[1].input = PixelRegion(PixelRect{650, 50, 500, 500});
    windows[2].embedded = {
        {.client = {.id = 7, .pid = 30, .words = {.className = "Tray"}}, .area = {620, 40, 20, 20}}};
    DisplayLayout const layout{.origin = {600, 0}, .widthPixels = 1000, .heightPixels = 800, .scale = 2};

    auto const entries = windowEntries(owners.survey, owners.take(), layout);

    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[2].parts, std::nullopt);
    EXPECT_THAT(entries[1].parts.value(), ElementsAre(DesktopRect{25, 25, 25, 25}));
    ASSERT_EQ(entries[0].embedded.size(), 1u);
    EXPECT_EQ(entries[0].embedded[0].bounds, (DesktopRect{10, 20, 10, 10}));
    EXPECT_THAT(entries[0].embedded[0].owner.names, ElementsAre("Tray"));
    EXPECT_EQ(entries[0].owner.identifier(), "C");
}

} // namespace
} // namespace zelvo::test
