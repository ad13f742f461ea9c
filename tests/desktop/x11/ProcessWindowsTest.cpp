#include "platform/linux/x11/windows/ProcessWindows.h"

#include "desktop/harness/PainterProcess.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

class ProcessWindowsOnADesktop : public testing::Test {
protected:
    PrivateDesktop desktop{{.sessionBus = false}};
    std::unique_ptr<X11Connection> connection = X11Connection::open(desktop.display());
    PainterProcess painter{desktop};

    std::vector<ProcessWindow> windows() const
    {
        return processWindows(*connection, surveyWindows(*connection), painter.pid());
    }
};

TEST_F(ProcessWindowsOnADesktop, tellTheWindowInItsFrame)
{
    std::uint32_t const id =
        painter.open({.x = 100, .y = 100, .width = 300, .height = 200, .title = "Letter – Editor"});
    painter.move(id, 400, 300);

    // The window manager moves the window asynchronously.
    std::vector<ProcessWindow> found;
    PixelRect const place{400, 300, 300, 200};
    waitFor([&] {
        found = windows();
        return found.size() == 1 && found.front().inner == place && found.front().outer.y > 200;
    });

    ASSERT_THAT(found, SizeIs(1));
    ProcessWindow const& window = found.front();
    EXPECT_EQ(window.id, id);
    EXPECT_EQ(window.title, "Letter – Editor");
    EXPECT_FALSE(window.overrideRedirect);
    EXPECT_EQ(window.inner, place);
    // openbox draws a title bar above and an edge on each side.
    EXPECT_GT(window.inner.y, window.outer.y + 5);
    EXPECT_GT(window.inner.x, window.outer.x);
    EXPECT_GT(window.outer.right(), window.inner.right());
    EXPECT_GT(window.outer.bottom(), window.inner.bottom());
}

TEST_F(ProcessWindowsOnADesktop, areFrontToBack)
{
    std::uint32_t const window =
        painter.open({.width = 300, .height = 200, .gtkFrameExtents = {{1, 2, 3, 4}}});
    std::uint32_t const menu =
        painter.open({.x = 500, .y = 40, .width = 80, .height = 120, .overrideRedirect = true, .border = 2});

    auto const found = windows();

    ASSERT_THAT(found, SizeIs(2));
    EXPECT_EQ(found[0].id, menu);
    EXPECT_TRUE(found[0].overrideRedirect);
    EXPECT_EQ(found[0].inner, (PixelRect{502, 42, 80, 120}));
    EXPECT_EQ(found[0].outer, (PixelRect{500, 40, 84, 124}));
    EXPECT_EQ(found[1].id, window);
    EXPECT_EQ(found[1].frameExtents, (std::array<int, 4>{1, 2, 3, 4}));
}

TEST_F(ProcessWindowsOnADesktop, areThoseOnTheScreen)
{
    painter.open({.mapped = false});
    EXPECT_THAT(windows(), IsEmpty());
}

TEST_F(ProcessWindowsOnADesktop, areTheProcesssOwn)
{
    PainterProcess other(desktop);
    std::uint32_t const host =
        other.open({.x = 200, .y = 100, .width = 300, .height = 200, .overrideRedirect = true});
    std::uint32_t const plug = painter.open({.width = 50, .height = 40, .overrideRedirect = true});
    EXPECT_THAT(windows(), SizeIs(1));

    painter.embed(plug, host, 10, 20);

    auto const found = windows();
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_EQ(found[0].id, plug);
    EXPECT_EQ(found[0].inner, (PixelRect{210, 120, 50, 40}));
    EXPECT_THAT(processWindows(*connection, surveyWindows(*connection), 1), IsEmpty());
}

} // namespace
} // namespace zelvo::test
