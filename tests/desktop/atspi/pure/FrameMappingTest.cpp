#include "platform/linux/atspi/FrameMapping.h"

#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

using enum AtspiRole;

std::vector<DisplayLayout> const unscaled = {{.widthPixels = 1600, .heightPixels = 1200}};
std::vector<DisplayLayout> const doubled = {{.widthPixels = 1600, .heightPixels = 1200, .scale = 2}};

/// Maps an element inside others to the screen, from what each reports, outermost first.
struct Step {
    AtspiRole role;
    ReportedRect reported;
};
std::optional<DesktopRect> placeOf(FrameMapping const& mapping, std::vector<Step> const& way)
{
    auto space = mapping.topLevel(0);
    if (!space)
        return std::nullopt;
    std::optional<DesktopRect> frame;
    for (Step const& step : way) {
        PlacedElement const placed = mapping.place(*space, step.role, step.reported);
        frame = placed.frame;
        space = placed.inside;
    }
    return frame;
}

TEST(FramesAtAPoint, areTheWindowsFromFrontToBack)
{
    ReportedRect const top{0, 0, 400, 300};
    ProcessWindow const menuWindow{
        .inner = {100, 100, 80, 60}, .outer = {100, 100, 80, 60}, .overrideRedirect = true};
    ProcessWindow const tip{.inner = {100, 100, 80, 60},
                            .outer = {100, 100, 80, 60},
                            .overrideRedirect = true,
                            .takesPointer = false};
    ProcessWindow const main{.title = "Lab", .inner = {20, 40, 400, 300}, .outer = {20, 20, 400, 320}};
    FrameMapping const mapping("Qt", {{"Lab", top}}, {tip, menuWindow, main}, unscaled);

    auto const found = mapping.windowsAt({110, 110});
    ASSERT_EQ(found.size(), 2u);
    EXPECT_TRUE(found[0].isPopup);
    EXPECT_EQ(found[0].topLevel, std::nullopt);
    EXPECT_EQ(found[0].bounds, (DesktopRect{100, 100, 80, 60}));
    EXPECT_FALSE(found[1].isPopup);
    EXPECT_EQ(found[1].topLevel, 0u);
    EXPECT_EQ(mapping.windowsAt({110, 30}).size(), 1u); // The title bar.
    EXPECT_TRUE(mapping.windowsAt({110, 10}).empty());
}

TEST(FramesAtAPoint, turnItIntoTheWordsOfTheToolkit)
{
    std::vector<DisplayLayout> const elsewhere = {
        {.origin = {100, 50}, .widthPixels = 1600, .heightPixels = 1200, .scale = 2}};
    ProcessWindow const window{.title = "Lab", .inner = {300, 250, 800, 600}, .outer = {300, 250, 800, 600}};
    FrameMapping const mapping("Qt", {{"Lab", {0, 0, 400, 300}}}, {window}, elsewhere);

    // Pixel 310, 270: ten pixels from the left edge of the window, in units of two.
    EXPECT_EQ(mapping.reportedAt(*mapping.topLevel(0), {105, 110}), (ReportedPoint{5, 10}));
    EXPECT_EQ(mapping.reportedAt({}, {105, 110}), (ReportedPoint{310, 270}));
}

TEST(FramesAtAPoint, tellWhatLiesOverTheWindow)
{
    ReportedRect const top{0, 0, 400, 300};
    FrameMapping const mapping("Qt", {{"Lab", top}}, {}, unscaled);
    FrameSpace const space = *mapping.topLevel(0);

    PlacedElement const item = mapping.place(space, menuItem, ReportedRect{10, 0, 40, 20});
    PlacedElement const popup = mapping.place(item.inside, popupMenu, ReportedRect{10, 20, 100, 60});
    PlacedElement const list = mapping.place(space, comboBox, ReportedRect{10, 50, 100, 20});

    EXPECT_FALSE(item.isDropped);
    EXPECT_TRUE(popup.isDropped);
    EXPECT_TRUE(mapping.place(popup.inside, menuItem, ReportedRect{10, 20, 100, 20}).isDropped);
    EXPECT_FALSE(list.isDropped);
    EXPECT_TRUE(mapping.place(list.inside, filler, ReportedRect{10, 70, 100, 60}).isDropped);
}

// The sizes and positions below are what the toolkits reported, and the pixels what they drew.

TEST(FramesOfGtk3, areUnitsOfTheScreen)
{
    ProcessWindow const window{.title = "Lab", .inner = {302, 223, 840, 600}, .outer = {301, 201, 842, 627}};
    ReportedRect const top{150, 100, 422, 314};
    FrameMapping const mapping("gtk", {{"Lab", top}}, {window}, unscaled);

    EXPECT_EQ(placeOf(mapping, {{frame, top}, {pushButton, {171, 147, 58, 32}}}),
              (DesktopRect{343, 295, 116, 64})); // drawn at 342, 295
}

TEST(FramesOfGtk3, arePlainPixelsInAShadow)
{
    ProcessWindow const window{.title = "Lab",
                               .inner = {301, 201, 472, 399},
                               .outer = {301, 201, 472, 399},
                               .frameExtents = {26, 26, 23, 29}};
    ReportedRect const top{301, 201, 472, 399};
    FrameMapping const mapping("gtk", {{"Lab", top}}, {window}, unscaled);

    EXPECT_EQ(placeOf(mapping, {{frame, top}, {pushButton, {347, 307, 58, 32}}}),
              (DesktopRect{347, 307, 58, 32}));
}

TEST(FramesOfGtk3, reachOutOfTheWindowInMenus)
{
    ProcessWindow const window{.title = "Lab", .inner = {302, 223, 420, 300}, .outer = {301, 201, 422, 327}};
    ReportedRect const top{301, 201, 422, 327};
    FrameMapping const mapping("gtk", {{"Lab", top}}, {window}, unscaled);

    EXPECT_EQ(placeOf(mapping, {{frame, top}, {menu, {302, 223, 37, 27}}, {menuItem, {690, 597, 102, 32}}}),
              (DesktopRect{690, 597, 102, 32}));
}

TEST(FramesOfGtk3, reachOutOfTheWindowInTheMenuOfAButton)
{
    ProcessWindow const window{.title = "Lab", .inner = {302, 223, 420, 300}, .outer = {301, 201, 422, 327}};
    ReportedRect const top{301, 201, 422, 327};
    FrameMapping const mapping("gtk", {{"Lab", top}}, {window}, unscaled);

    EXPECT_EQ(
        placeOf(mapping, {{frame, top}, {pushButton, {302, 500, 37, 20}}, {menuItem, {302, 520, 102, 32}}}),
        (DesktopRect{302, 520, 102, 32}));
}

TEST(FramesOfGtk3, areNothingWhereNothingShows)
{
    ProcessWindow const window{.title = "Lab", .inner = {302, 223, 420, 300}, .outer = {301, 201, 422, 327}};
    ReportedRect const top{301, 201, 422, 327};
    FrameMapping const mapping("gtk", {{"Lab", top}}, {window}, unscaled);

    EXPECT_EQ(placeOf(mapping, {{frame, top}, {pushButton, {INT32_MIN, INT32_MIN, 420, 32}}}), std::nullopt);
}

TEST(FramesOfGtk3, endWhereTheScrolledPartEnds)
{
    ProcessWindow const window{.title = "Lab", .inner = {302, 223, 420, 300}, .outer = {301, 201, 422, 327}};
    ReportedRect const top{301, 201, 422, 327};
    FrameMapping const mapping("gtk", {{"Lab", top}}, {window}, unscaled);
    Step const pane{scrollPane, {302, 382, 420, 141}};

    EXPECT_EQ(placeOf(mapping, {{frame, top}, pane, {pushButton, {302, 356, 420, 32}}}),
              (DesktopRect{302, 382, 420, 6}));
    EXPECT_EQ(placeOf(mapping, {{frame, top}, pane, {pushButton, {302, 320, 420, 32}}}), std::nullopt);
}

TEST(FramesOfLibreOffice, areBelowItsMenuBar)
{
    ProcessWindow const window{.title = "Lab", .inner = {0, 21, 1600, 1179}, .outer = {0, 0, 1600, 1200}};
    ReportedRect const top{0, 0, 1600, 1200};
    FrameMapping const mapping("gtk", {{"Lab", top}}, {window}, unscaled);
    Step const whole{panel, {0, 21, 1600, 1179}};
    Step const below{panel, {0, 48, 1600, 1152}};
    Step const own{rootPane, {0, 21, 1600, 1152}}; // It is drawn where `below` is.

    EXPECT_EQ(placeOf(mapping, {{frame, top}, whole, {menu, {0, 21, 37, 27}}}), (DesktopRect{0, 21, 37, 27}));
    EXPECT_EQ(placeOf(mapping, {{frame, top}, whole, below, own}), (DesktopRect{0, 48, 1600, 1152}));
    EXPECT_EQ(placeOf(mapping, {{frame, top}, whole, below, own, {pushButton, {4, 23, 44, 35}}}),
              (DesktopRect{4, 50, 44, 35}));
    // The side bar's extents are GTK's again.
    Step const bar{panel, {1550, 101, 48, 1045}};
    Step const inner{panel, {1550, 128, 48, 1045}};
    EXPECT_EQ(
        placeOf(mapping, {{frame, top}, whole, below, own, bar, inner, {pushButton, {1554, 173, 37, 35}}}),
        (DesktopRect{1554, 173, 37, 35}));
}

TEST(FramesOfLibreOffice, areNotThoseOfItsHiddenMenuBar)
{
    ProcessWindow const window{.title = "Lab", .inner = {0, 21, 1600, 1179}, .outer = {0, 0, 1600, 1200}};
    ReportedRect const top{0, 0, 1600, 1200};
    FrameMapping const mapping("gtk", {{"Lab", top}}, {window}, unscaled);
    Step const bar{menuBar, {0, 21, 1600, 0}};

    EXPECT_EQ(placeOf(mapping, {{frame, top}, bar, {menu, {0, 21, 36, 22}}}), std::nullopt);
}

TEST(FramesOfGtk4, areUnitsFromTheWindowsCornerInsideItsShadow)
{
    ProcessWindow const window{.title = "Lab",
                               .inner = {301, 201, 896, 748},
                               .outer = {301, 201, 896, 748},
                               .frameExtents = {28, 28, 24, 34}};
    ReportedRect const top{0, 0, 420, 345};
    FrameMapping const mapping("GTK", {{"Lab", top}}, {window}, unscaled);

    // Drawn with its padding at 369, 405, 116x64.
    EXPECT_EQ(placeOf(mapping, {{frame, top}, {pushButton, {29, 94, 40, 24}}}),
              (DesktopRect{387, 413, 80, 48}));
}

TEST(FramesOfGtk4, areUnitsFromTheWindowsCornerInsideItsBorder)
{
    ProcessWindow const window{.title = "Lab", .inner = {301, 201, 420, 354}, .outer = {301, 201, 420, 354}};
    ReportedRect const top{0, 0, 410, 344};
    FrameMapping const mapping("GTK", {{"Lab", top}}, {window}, unscaled);

    // Drawn with its padding at 326, 295, 58x32.
    EXPECT_EQ(placeOf(mapping, {{frame, top}, {pushButton, {29, 93, 40, 24}}}),
              (DesktopRect{335, 299, 40, 24}));
}

TEST(FramesOfGtk4, beginInsideTheBorderThatTheWindowReports)
{
    ProcessWindow const window{.title = "Lab", .inner = {750, 450, 420, 300}, .outer = {750, 450, 420, 300}};
    ReportedRect const top{-5, -5, 420, 300};
    FrameMapping const mapping("GTK", {{"Lab", top}}, {window}, unscaled);

    // GTK 4.18; drawn at 975, 544.
    EXPECT_EQ(placeOf(mapping, {{frame, top}}), (DesktopRect{750, 450, 420, 300}));
    EXPECT_EQ(placeOf(mapping, {{frame, top}, {panel, {-5, 41, 410, 244}}, {pushButton, {215, 84, 58, 32}}}),
              (DesktopRect{975, 544, 58, 32}));
}

TEST(FramesOfGtk4, areThoseOfThePopoversOwnWindow)
{
    ProcessWindow const window{.title = "Lab",
                               .inner = {301, 201, 896, 748},
                               .outer = {301, 201, 896, 748},
                               .frameExtents = {28, 28, 24, 34}};
    ProcessWindow const popover{
        .inner = {666, 382, 164, 264}, .outer = {666, 382, 164, 264}, .overrideRedirect = true};
    ReportedRect const top{0, 0, 420, 345};
    FrameMapping const mapping("GTK", {{"Lab", top}}, {popover, window}, unscaled);

    // Drawn with its padding at 690, 428, 116x64.
    EXPECT_EQ(placeOf(mapping, {{frame, top},
                                {pushButton, {0, 47, 420, 34}},
                                {filler, {0, 47, 82, 132}},
                                {pushButton, {21, 74, 40, 24}}}),
              (DesktopRect{708, 436, 80, 48}));
}

TEST(FramesOfQt, areUnitsOfItsOwnScreen)
{
    // The main display begins at 700.
    std::vector<DisplayLayout> const displays = {
        {.origin = {700, 0}, .widthPixels = 900, .heightPixels = 1200, .scale = 2},
        {.widthPixels = 700, .heightPixels = 1200, .scale = 2}};
    ProcessWindow const window{.title = "Lab", .inner = {901, 201, 840, 600}, .outer = {900, 165, 842, 641}};
    ReportedRect const top{801, 101, 420, 300};
    FrameMapping const mapping("Qt", {{"Lab", top}}, {window}, displays);

    // Drawn at 919, 263, 120x52.
    EXPECT_EQ(placeOf(mapping, {{frame, top}, {pushButton, {810, 132, 60, 26}}}),
              (DesktopRect{109.5, 131.5, 60, 26}));
}

TEST(FramesOfQt, areThoseOfTheMenusOwnWindow)
{
    ProcessWindow const window{.title = "Lab", .inner = {901, 201, 840, 600}, .outer = {900, 165, 842, 641}};
    ProcessWindow const far{
        .inner = {40, 900, 262, 150}, .outer = {40, 900, 262, 150}, .overrideRedirect = true};
    ProcessWindow const near{
        .inner = {740, 356, 262, 150}, .outer = {740, 356, 262, 150}, .overrideRedirect = true};
    ReportedRect const top{801, 101, 420, 300};
    FrameMapping const mapping("Qt", {{"Lab", top}}, {far, near, window}, doubled);

    EXPECT_EQ(
        placeOf(mapping, {{frame, top}, {popupMenu, {720, 178, 131, 75}}, {menuItem, {720, 203, 131, 25}}}),
        (DesktopRect{370, 203, 131, 25})); // drawn at 740, 406
}

TEST(FramesOfQt, endWhereTheScrolledPartEnds)
{
    ProcessWindow const window{.title = "Lab", .inner = {301, 201, 420, 300}, .outer = {300, 179, 422, 327}};
    ReportedRect const top{301, 201, 420, 300};
    FrameMapping const mapping("Qt", {{"Lab", top}}, {window}, unscaled);
    Step const view{filler, {311, 329, 386, 162}};
    Step const content{filler, {311, 229, 78, 972}};

    EXPECT_EQ(placeOf(mapping, {{frame, top}, view, content, {pushButton, {320, 1166, 60, 26}}}),
              std::nullopt);
    EXPECT_EQ(placeOf(mapping, {{frame, top}, view, content, {pushButton, {320, 478, 60, 26}}}),
              (DesktopRect{320, 478, 60, 13}));
}

TEST(FramesOfChromium, areUnitsInItsWindowAndPixelsInPages)
{
    ProcessWindow const window{.title = "Web - Chromium",
                               .inner = {301, 201, 1016, 1000},
                               .outer = {301, 201, 1016, 1000},
                               .frameExtents = {8, 8, 0, 8}};
    ReportedRect const top{150, 100, 508, 500};
    FrameMapping const mapping("Chromium", {{"Web - Chromium", top}}, {window}, doubled);
    Step const page{documentWeb, {308, 486, 1000, 706}};

    EXPECT_EQ(placeOf(mapping, {{frame, top}, {pushButton, {558, 100, 32, 40}}}),
              (DesktopRect{558.5, 100.5, 32, 40}));
    EXPECT_EQ(placeOf(mapping, {{frame, top}, page, {pushButton, {342, 520, 120, 60}}}),
              (DesktopRect{171.5, 260.5, 60, 30})); // drawn at 343, 521
    EXPECT_EQ(
        placeOf(mapping,
                {{frame, top}, page, {documentWeb, {342, 942, 600, 200}}, {pushButton, {360, 960, 120, 60}}}),
        (DesktopRect{180.5, 480.5, 60, 30})); // in a frame of the page
}

TEST(FramesOfChromium, reachOutOfThePageInLists)
{
    ProcessWindow const window{
        .title = "Web - Chromium", .inner = {301, 201, 1016, 600}, .outer = {301, 201, 1016, 600}};
    ReportedRect const top{150, 100, 508, 300};
    FrameMapping const mapping("Chromium", {{"Web - Chromium", top}}, {window}, doubled);

    EXPECT_EQ(placeOf(mapping, {{frame, top},
                                {documentWeb, {308, 486, 1000, 306}},
                                {comboBox, {678, 731, 145, 63}},
                                {menu, {678, 731, 145, 10}},
                                {menuItem, {681, 866, 110, 71}}}),
              (DesktopRect{341, 433.5, 55, 35.5}));
}

TEST(FrameMapping, endsWhereTheScreenEnds)
{
    ProcessWindow const window{.title = "a", .inner = {1400, 100, 400, 300}, .outer = {1400, 100, 400, 300}};
    ReportedRect const top{1400, 100, 400, 300};
    FrameMapping const mapping("gtk", {{"a", top}}, {window}, unscaled);

    EXPECT_EQ(placeOf(mapping, {{frame, top}}), (DesktopRect{1400, 100, 200, 300}));
    EXPECT_EQ(placeOf(mapping, {{frame, top}, {pushButton, {1650, 150, 60, 30}}}), std::nullopt);
    EXPECT_EQ(placeOf(mapping, {{frame, top}, {menu, {1500, 150, 60, 30}}, {menuItem, {1580, 180, 60, 30}}}),
              (DesktopRect{1580, 180, 20, 30}));
}

TEST(FrameMapping, placesNothingOfATopLevelWithoutAWindow)
{
    ProcessWindow const window{
        .title = "Web - Chromium", .inner = {301, 201, 508, 500}, .outer = {301, 201, 508, 500}};
    FrameMapping const mapping("Chromium", {{"", {368, 226, 374, 88}}}, {window}, unscaled);

    EXPECT_EQ(mapping.topLevel(0), std::nullopt);
    EXPECT_EQ(mapping.topLevel(1), std::nullopt);
}

TEST(FrameMapping, goesByTheToolkitsHabitWhenNoWindowIsKnown)
{
    ReportedRect const top{150, 100, 508, 500};

    EXPECT_EQ(placeOf(FrameMapping("Qt", {{"a", top}}, {}, doubled), {{frame, top}}),
              (DesktopRect{150, 100, 508, 500}));
    EXPECT_EQ(placeOf(FrameMapping("gtk", {{"a", top}}, {}, doubled), {{frame, top}}),
              (DesktopRect{75, 50, 254, 250}));
}

/// Nothing says where windows are.
TEST(FramesFromTheCorner, beginWhereTheWindowBegins)
{
    // GTK 3 with the shadow that it draws itself.
    FrameMapping const gtk("gtk", {{"Lab", {26, 23, 400, 300}}}, {}, {}, ReportedFrom::corner);
    EXPECT_EQ(placeOf(gtk, {{frame, {26, 23, 400, 300}}}), (DesktopRect{0, 0, 400, 300}));
    EXPECT_EQ(placeOf(gtk, {{frame, {26, 23, 400, 300}}, {pushButton, {36, 43, 80, 30}}}),
              (DesktopRect{10, 20, 80, 30}));
    // What is scrolled out of the window is not drawn.
    EXPECT_EQ(placeOf(gtk, {{frame, {26, 23, 400, 300}}, {pushButton, {36, 900, 80, 30}}}), std::nullopt);

    FrameMapping const qt("Qt", {{"Lab", {0, 0, 400, 300}}}, {}, doubled, ReportedFrom::corner);
    EXPECT_TRUE(qt.windowsAt({10, 10}).empty());
}

TEST(FramesFromTheCorner, beginWhereAMenuBegins)
{
    FrameMapping const mapping("Qt", {{"Lab", {0, 0, 400, 300}}}, {}, {}, ReportedFrom::corner);
    EXPECT_EQ(
        placeOf(mapping,
                {{frame, {0, 0, 400, 300}}, {popupMenu, {0, 0, 200, 600}}, {menuItem, {5, 500, 190, 25}}}),
        (DesktopRect{5, 500, 190, 25}));
}

TEST(FrameMapping, survivesWildNumbers)
{
    ProcessWindow const window{.title = "a", .inner = {0, 0, 400, 300}, .outer = {0, 0, 400, 300}};
    ReportedRect const top{0, 0, 400, 300};
    FrameMapping const mapping("Qt", {{"a", top}}, {window}, unscaled);
    ReportedRect const everything{INT32_MIN + 1, INT32_MIN + 1, INT32_MAX, INT32_MAX};

    EXPECT_EQ(placeOf(mapping, {{frame, top}, {filler, everything}, {pushButton, {1, 1, 2, 2}}}),
              std::nullopt);
    EXPECT_EQ(placeOf(mapping, {{frame, top}, {pushButton, {-5, -5, INT32_MAX, INT32_MAX}}}),
              (DesktopRect{0, 0, 400, 300}));
    EXPECT_EQ(placeOf(mapping, {{frame, top}, {pushButton, {5, 5, -1, 10}}}), std::nullopt);
}

/// An application that reports places within its windows. The numbers are those of programs on a compositor.
class FramesInWindows : public testing::Test {
protected:
    static ProcessWindow popup(PixelRect area)
    {
        return {.inner = area, .outer = area, .overrideRedirect = true};
    }
    FrameMapping
    mapping(std::string toolkit, ReportedRect reported, std::vector<ProcessWindow> popups = {}) const
    {
        popups.push_back(window);
        return {std::move(toolkit), {{"Lab", reported}}, std::move(popups), displays, ReportedFrom::window};
    }

    std::vector<DisplayLayout> displays = {{.widthPixels = 1920, .heightPixels = 1080}};
    ProcessWindow window{.title = "Lab", .inner = {750, 390, 420, 300}, .outer = {748, 365, 424, 327}};
    ReportedRect const top{0, 0, 420, 300};
};

TEST_F(FramesInWindows, areUnknownWithoutAWindowOfThatSize)
{
    EXPECT_EQ(FrameMapping("gtk", {{"Lab", top}}, {}, displays, ReportedFrom::window).topLevel(0),
              std::nullopt);
    EXPECT_EQ(mapping("gtk", {0, 0, 472, 399}).topLevel(0), std::nullopt); // Shadows that nobody reports.
    EXPECT_EQ(mapping("gtk", {0, 0, 210, 150}).topLevel(0), std::nullopt); // No scale is assumed.
    EXPECT_NE(mapping("gtk", top).topLevel(0), std::nullopt);
}

TEST_F(FramesInWindows, areThoseOfADialogsContentToo)
{
    EXPECT_EQ(placeOf(mapping("Qt", top), {{dialog, top}, {pushButton, {220, 31, 60, 26}}}),
              (DesktopRect{970, 421, 60, 26}));
}

TEST_F(FramesInWindows, followTheOnlyMenuOfAGtk3Application)
{
    std::vector<Step> const item = {
        {frame, top}, {menuBar, {0, 0, 420, 29}}, {menu, {0, 0, 80, 29}}, {menuItem, {6, 37, 102, 32}}};
    ProcessWindow const shown = popup({744, 414, 114, 106});

    EXPECT_EQ(placeOf(mapping("gtk", top, {shown}), item), (DesktopRect{750, 451, 102, 32}));
    EXPECT_EQ(placeOf(mapping("gtk", top), item), std::nullopt);
    EXPECT_EQ(placeOf(mapping("gtk", top, {shown, popup({858, 414, 90, 70})}), item), std::nullopt);
    EXPECT_EQ(placeOf(mapping("gtk", top), {item[0], item[1], item[2]}), (DesktopRect{750, 390, 80, 29}));
}

TEST_F(FramesInWindows, followAQtMenuByItsSize)
{
    std::vector<Step> const item = {{frame, top},
                                    {menuBar, {0, 0, 420, 22}},
                                    {menuItem, {0, 0, 76, 22}},
                                    {popupMenu, {6, 22, 131, 75}},
                                    {menuItem, {6, 47, 131, 25}}};

    EXPECT_EQ(placeOf(mapping("Qt", top, {popup({894, 502, 131, 75})}), item),
              (DesktopRect{894, 527, 131, 25}));
    EXPECT_EQ(placeOf(mapping("Qt", top), item), std::nullopt);
    EXPECT_EQ(placeOf(mapping("Qt", top, {popup({894, 502, 200, 75})}), item), std::nullopt);
    // Opened without a press it is a window like others, which no top-level element has.
    ProcessWindow opened = popup({894, 502, 131, 75});
    opened.overrideRedirect = false;
    EXPECT_EQ(placeOf(mapping("Qt", top, {opened}), item), (DesktopRect{894, 527, 131, 25}));
    EXPECT_TRUE(mapping("Qt", top, {opened}).windowsAt({900, 510}).front().isPopup);
    EXPECT_EQ(placeOf(mapping("Qt", top), {item[0], item[1], item[2]}), (DesktopRect{750, 390, 76, 22}));
}

TEST_F(FramesInWindows, areUnknownInAQtListThatDroppedDownButNotInItsField)
{
    Step const box{comboBox, {10, 10, 100, 26}};

    EXPECT_EQ(placeOf(mapping("Qt", top), {{frame, top}, box, {entry, {12, 12, 80, 22}}}),
              (DesktopRect{762, 402, 80, 22}));
    EXPECT_EQ(placeOf(mapping("Qt", top),
                      {{frame, top}, box, {list, {10, 36, 100, 80}}, {listItem, {10, 36, 100, 20}}}),
              std::nullopt);
}

TEST_F(FramesInWindows, areUnknownInAGtk4PopoverWhoseWindowIs)
{
    std::vector<Step> const item = {{frame, top},
                                    {pushButton, {0, 0, 90, 34}},
                                    {filler, {3, 6, 94, 140}},
                                    {pushButton, {21, 27, 40, 24}}};

    EXPECT_EQ(placeOf(mapping("GTK", top), item), std::nullopt);
    EXPECT_EQ(placeOf(mapping("GTK", top, {popup({765, 430, 94, 140})}), item),
              (DesktopRect{783, 451, 40, 24}));
}

TEST_F(FramesInWindows, countRealPixelsInPagesOfADenseMonitor)
{
    window.inner = {10, 10, 940, 520};
    ReportedRect const whole{0, 0, 940, 520};
    std::vector<Step> const button = {{frame, whole},
                                      {panel, {0, 56, 940, 464}},
                                      {documentWeb, {0, 112, 1880, 928}},
                                      {pushButton, {446, 152, 120, 60}}};

    for (double const density : {2.0, 1.5}) { // For the latter Chromium draws twice as many too.
        displays[0].density = density;
        EXPECT_EQ(placeOf(mapping("Chromium", whole), button), (DesktopRect{233, 86, 60, 30})) << density;
    }
    EXPECT_EQ(placeOf(mapping("Chromium", whole), {button[0], button[1]}), (DesktopRect{10, 66, 940, 464}));
}

} // namespace
} // namespace zelvo::test
