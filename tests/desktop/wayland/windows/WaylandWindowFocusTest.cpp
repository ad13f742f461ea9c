#include "platform/linux/wayland/windows/WaylandWindowFocus.h"

#include "desktop/wayland/windows/WindowsFixture.h"

namespace zelvo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class WaylandWindowFocusTest : public WindowsFixture {
protected:
    CompositorWindow& own(std::string id, std::string title)
    {
        CompositorWindow& window = add(std::move(id), ownPid);
        window.title = std::move(title);
        return window;
    }

    WaylandWindowFocus focus{desktop};
};

TEST_F(WaylandWindowFocusTest, knowsTheActiveWindow)
{
    add("e", editor);
    EXPECT_EQ(focus.activeWindow(), 0u);

    source.window("e").isActive = true;
    EXPECT_EQ(focus.activeWindow(), idOf("e"));

    source.now.isCovered = true;
    EXPECT_EQ(focus.activeWindow(), 0u);
}

TEST_F(WaylandWindowFocusTest, findsAnOwnWindowByItsTitle)
{
    own("main", "Zelvo Main");
    add("e", editor).title = "Zelvo";
    EXPECT_EQ(focus.idOf({7, "Zelvo"}), 0u); // Another program's, and a longer title.

    own("panel", "Zelvo");
    EXPECT_EQ(focus.idOf({7, "Zelvo"}), idOf("panel"));
    EXPECT_EQ(focus.idOf({8, "Zelvo Main"}), idOf("main"));
}

TEST_F(WaylandWindowFocusTest, acceptsWhatToolkitsAndCompositorsAppend)
{
    own("main", "Activity \u2014 Zelvo");
    own("second", "Zelvo <2>");

    EXPECT_EQ(focus.idOf({7, "Activity"}), idOf("main"));
    EXPECT_EQ(focus.idOf({8, "Zelvo"}), idOf("second"));
}

TEST_F(WaylandWindowFocusTest, tellsWindowsOfOneTitleApartByTheirAge)
{
    own("first", "Zelvo");
    std::uint32_t const first = focus.idOf({1, "Zelvo"});
    own("second", "Zelvo");
    std::uint32_t const second = focus.idOf({2, "Zelvo"});
    own("third", "Zelvo");

    EXPECT_EQ(first, idOf("first"));
    EXPECT_EQ(second, idOf("second"));
    EXPECT_EQ(focus.idOf({1, "Zelvo"}), first);
    EXPECT_EQ(focus.idOf({2, "Zelvo"}), second);
    EXPECT_EQ(focus.idOf({3, "Zelvo"}), idOf("third"));
    EXPECT_EQ(focus.idOf({4, "Zelvo"}), 0u);
}

TEST_F(WaylandWindowFocusTest, forgetsAWindowThatIsGoneAndFindsItsSuccessor)
{
    own("shown", "Zelvo");
    std::uint32_t const shown = focus.idOf({1, "Zelvo"});
    source.remove("shown");
    EXPECT_EQ(focus.idOf({1, "Zelvo"}), 0u);
    EXPECT_FALSE(focus.standing(shown).exists);

    own("shown again", "Zelvo");
    EXPECT_EQ(focus.idOf({1, "Zelvo"}), idOf("shown again"));
}

TEST_F(WaylandWindowFocusTest, takesNoOverlayOrPopupForAWindow)
{
    own("cursor", "").kind = Kind::overlay;
    own("tip", "").kind = Kind::popup;
    EXPECT_EQ(focus.idOf({1, ""}), 0u);
    EXPECT_EQ(focus.idOf({0, "Zelvo"}), 0u);

    own("untitled", "");
    EXPECT_EQ(focus.idOf({1, ""}), idOf("untitled"));
}

TEST_F(WaylandWindowFocusTest, passesRequestsOn)
{
    add("e", editor);
    own("panel", "Zelvo");

    focus.putInFront(focus.idOf({1, "Zelvo"}), idOf("e"));
    focus.activate(idOf("e"));
    focus.activate(0);
    focus.activate(999);

    EXPECT_THAT(source.log, ElementsAre("front panel", "activate e"));
}

TEST_F(WaylandWindowFocusTest, looksHowAWindowIs)
{
    add("e", editor).isActive = true;
    std::uint32_t const window = idOf("e");

    EXPECT_EQ(focus.standing(window),
              (WindowStanding{.exists = true, .isOnScreen = true, .hasKeyboard = true}));
    source.now.isCovered = true;
    EXPECT_EQ(focus.standing(window), (WindowStanding{.exists = true, .isOnScreen = true}));
    source.now.isCovered = false;
    source.window("e").isActive = source.window("e").isOnScreen = false;
    EXPECT_EQ(focus.standing(window), (WindowStanding{.exists = true}));
    popup("menu", editor, "e").isActive = true;
    EXPECT_TRUE(focus.standing(window).hasKeyboard);
}

TEST_F(WaylandWindowFocusTest, takesNoWindowForGoneWhileTheCompositorDoesNotAnswer)
{
    own("panel", "Zelvo").isActive = true;
    std::uint32_t const panel = focus.idOf({1, "Zelvo"});
    source.answers = false;

    EXPECT_EQ(focus.idOf({1, "Zelvo"}), panel);
    EXPECT_EQ(focus.idOf({2, "Zelvo"}), 0u);
    EXPECT_EQ(focus.standing(panel), (WindowStanding{.exists = true, .isOnScreen = true}));
    EXPECT_EQ(focus.standing(999), WindowStanding{});

    source.answers = true;
    source.remove("panel");
    EXPECT_EQ(focus.standing(panel), WindowStanding{});
}

TEST_F(WaylandWindowFocusTest, knowsNoWindowWithoutASource)
{
    WaylandWindowFocus none(blind);

    none.putInFront(1, 0);
    none.activate(1);

    EXPECT_EQ(none.activeWindow(), 0u);
    EXPECT_EQ(none.idOf({1, "Zelvo"}), 0u);
    EXPECT_EQ(none.standing(1), WindowStanding{});
    EXPECT_FALSE(none.isKeyDown());
    EXPECT_THAT(source.log, IsEmpty());
}

} // namespace
} // namespace zelvo::test
