#include "platform/linux/wayland/windows/WaylandFrontChanges.h"

#include "desktop/wayland/windows/WindowsFixture.h"

#include <memory>

namespace zelvo::test {
namespace {

class WaylandFrontChangesTest : public WindowsFixture {
protected:
    WaylandFrontChangesTest()
    {
        add("e", editor).isActive = true;
        add("w", office);
        changes->observe([this] { ++reports; });
        change();
        reports = 0;
        source.looks = 0;
    }
    int change()
    {
        int const before = reports;
        source.change();
        settle(io);
        return reports - before;
    }

    int reports = 0;
    std::unique_ptr<WaylandFrontChanges> changes =
        std::make_unique<WaylandFrontChanges>(contextsOn(io), &source);
};

TEST_F(WaylandFrontChangesTest, areReportedForAnotherActiveWindow)
{
    source.window("e").isActive = false;
    EXPECT_EQ(change(), 1);
    source.window("w").isActive = true;
    EXPECT_EQ(change(), 1);
    EXPECT_EQ(change(), 0);
}

TEST_F(WaylandFrontChangesTest, areReportedWhenTheActiveWindowSaysThatItIsAnothers)
{
    source.window("e").words.kdeDesktopFile = "writer";

    EXPECT_EQ(change(), 1);
}

TEST_F(WaylandFrontChangesTest, areReportedForWhatCoversAndForPopups)
{
    source.now.isCovered = true;
    EXPECT_EQ(change(), 1);
    source.now.isCovered = false;
    EXPECT_EQ(change(), 1);
    popup("menu", office, "w");
    EXPECT_EQ(change(), 1);
    source.remove("menu");
    EXPECT_EQ(change(), 1);
}

TEST_F(WaylandFrontChangesTest, areNotReportedForTitlesPlacesAndOtherWindows)
{
    source.window("e").title = "Another";
    source.window("e").frame.x = 5;
    source.window("w").isMinimized = true;
    add("new", python);
    source.now.pointer = LogicalPoint{1, 2};

    EXPECT_EQ(change(), 0);
    EXPECT_EQ(source.looks, 1);
}

TEST_F(WaylandFrontChangesTest, areReportedWhileTheCompositorDoesNotAnswer)
{
    source.answers = false;
    EXPECT_EQ(change(), 1);
    EXPECT_EQ(change(), 1);
    source.answers = true;
    EXPECT_EQ(change(), 1);
    EXPECT_EQ(change(), 0);
}

TEST_F(WaylandFrontChangesTest, lookOnceMoreAfterChangesDuringALook)
{
    source.onLook = [this] {
        source.onLook = {};
        for (int i = 0; i < 3; ++i)
            source.change();
        io.poll(); // The reports arrive during the look.
        source.window("e").isActive = false;
    };

    EXPECT_EQ(change(), 1);
    EXPECT_EQ(source.looks, 2);
}

TEST_F(WaylandFrontChangesTest, endWithTheObject)
{
    source.window("e").isActive = false;
    source.change();
    changes.reset();
    settle(io);
    EXPECT_EQ(change(), 0);

    EXPECT_EQ(source.looks, 0);
}

TEST_F(WaylandFrontChangesTest, areNotKnownWithoutASource)
{
    WaylandFrontChanges none(contextsOn(io), nullptr);
    none.observe([this] { ++reports; });

    EXPECT_EQ(change(), 0);
}

} // namespace
} // namespace zelvo::test
