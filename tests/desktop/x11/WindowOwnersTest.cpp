#include "platform/linux/x11/windows/WindowOwners.h"

#include "platform/linux/x11/windows/WindowEntries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

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

TEST(WindowOwners, knowThisProgramByItsProcessIdAlone)
{
    Owners owners;
    owners.survey.windows = {window(1, ownPid, "Somebody"), window(2, 20, "dev.zelvo.agent")};
    auto const taken = owners.take();

    EXPECT_THAT(taken.namesOf(owners.survey.windows[0]).names, ElementsAre("dev.zelvo.agent"));
    EXPECT_THAT(taken.namesOf(owners.survey.windows[1]).names, Not(Contains("dev.zelvo.agent")));
}

TEST(WindowOwners, nameAMenuLikeTheOtherWindowsOfItsProcess)
{
    Owners owners;
    owners.survey.windows = {window(1, 20, "Keeper"), window(2, 20, "")};
    owners.survey.others = {{.id = 3, .pid = 20, .words = {.className = "Minimised"}}};

    EXPECT_THAT(owners.take().namesOf(owners.survey.windows[1]).names, ElementsAre("Keeper", "Minimised"));
}

TEST(WindowOwners, followTransientsThroughChainsAndCircles)
{
    Owners owners;
    owners.survey.windows = {window(1, 20, "Secret"), window(2, 30, "Portal"), window(3, 40, "Helper")};
    owners.survey.windows[1].client.transientFor = 1001;
    owners.survey.windows[2].client.transientFor = 1002;
    owners.survey.windows[0].client.transientFor = 1003;

    auto const taken = owners.take();

    EXPECT_THAT(taken.namesOf(owners.survey.windows[2]).names, ElementsAre("Helper", "Portal", "Secret"));
    EXPECT_EQ(taken.namesOf(owners.survey.windows[2]).identifier({"Secret"}), "Secret");
    EXPECT_EQ(taken.namesOf(owners.survey.windows[2]).identifier({}), "Helper");
}

TEST(WindowOwners, nameEmbeddedClientsWithTheWindowAroundThem)
{
    Owners owners;
    owners.survey.windows = {window(1, 20, "Panel")};
    owners.survey.windows[0].embedded = {{.client = {.id = 7, .pid = 30, .words = {.className = "Tray"}}}};

    EXPECT_THAT(owners.take().namesOf(owners.survey.windows[0]).names, ElementsAre("Panel", "Tray"));
    EXPECT_THAT(owners.take().namesOf(owners.survey.windows[0].client).names, ElementsAre("Panel"));
}

TEST(WindowOwners, knowAnApplicationsLocation)
{
    Owners owners;
    owners.index =
        DesktopEntryIndex({{.id = "org.example.keeper", .name = "Keeper", .file = "/a/keeper.desktop"},
                           {.id = "program", .name = "P", .file = "/a/program.desktop"},
                           {.id = "dev.zelvo.agent", .name = "Z", .file = "/a/zelvo.desktop"}});
    owners.survey.windows = {window(1, ownPid, "Somebody"), window(2, 20, "Keeper"), window(3, 30, "Unknown"),
                             window(4, 40, "Unknown")};
    auto const facts = [](std::int32_t pid) {
        return ProcessFacts{.pid = pid, .executable = pid == 40 ? "/usr/bin/python3.11" : "/usr/bin/program"};
    };
    WindowOwners const taken(owners.survey, owners.index, ownPid, facts);
    auto const locationOf = [&](std::size_t i) { return taken.locationOf(owners.survey.windows[i].client); };

    EXPECT_EQ(locationOf(0), "/a/zelvo.desktop");
    EXPECT_EQ(locationOf(1), "/a/keeper.desktop");
    EXPECT_EQ(locationOf(2), "/usr/bin/program"); // The program's name alone is no entry's id.
    EXPECT_EQ(locationOf(3), std::nullopt);       // It may be anybody's.
    EXPECT_EQ(owners.take().locationOf(owners.survey.windows[2].client), std::nullopt);
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
    owners.survey.windows[3].desktop = true;

    auto const entries = windowEntries(owners.survey, owners.take(), {});

    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].id, 5u);
    EXPECT_EQ(entries[0].ownerPid, 20);
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
    EXPECT_THAT(entries[0].owner.names, ElementsAre("C", "A", "B"));
}

} // namespace
} // namespace zelvo::test
