#include "desktop/wayland/windows/WindowsFixture.h"

namespace zelvo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class WindowOwnershipTest : public WindowsFixture {};

TEST_F(WindowOwnershipTest, takesTheApplicationIdForTheOwnWord)
{
    add("e", python, "org.example.Editor");
    add("s", portal, "org.example.Script");

    EXPECT_EQ(identifierOf("e"), "org.example.Editor");
    EXPECT_EQ(identifierOf("s"), "org.example.Script"); // A word that names no entry.
}

TEST_F(WindowOwnershipTest, letsAnEntryOfTheProgramBeatAWordThatNamesNone)
{
    add("e", editor, "my-editor");

    EXPECT_EQ(identifierOf("e"), "org.example.Editor");
    EXPECT_THAT(hiddenBy("my-editor"), ElementsAre("e"));
}

TEST_F(WindowOwnershipTest, knowsThisProgramByItsProcessIdAlone)
{
    add("own", ownPid, "org.example.Editor");
    add("liar", python, "dev.zelvo.agent");
    add("louder", python, "DEV.ZELVO.AGENT");

    EXPECT_EQ(identifierOf("own"), "dev.zelvo.agent");
    EXPECT_EQ(identifierOf("liar"), "python3.11");
    EXPECT_THAT(hiddenBy("org.example.Editor"), IsEmpty());
    EXPECT_THAT(hiddenBy("dev.zelvo.agent"), ElementsAre("own"));
}

TEST_F(WindowOwnershipTest, givesADialogItsParentsApplication)
{
    add("w", office, "writer");
    add("c", office, "calc");
    add("d", office).parent = "w";

    EXPECT_EQ(identifierOf("d"), "writer");
}

TEST_F(WindowOwnershipTest, givesAWindowWithoutAParentThatOfItsProcesssLastActiveWindow)
{
    add("c", office, "calc");
    add("w", office, "writer");
    add("splash", office);
    EXPECT_EQ(identifierOf("splash"), "writer");

    source.window("c").isActive = true;
    EXPECT_EQ(identifierOf("splash"), "calc");

    source.window("c").isActive = false;
    source.window("w").isMinimized = true;
    EXPECT_EQ(identifierOf("splash"), "calc");
}

TEST_F(WindowOwnershipTest, hidesAChooserWithTheWindowThatItIsFor)
{
    add("e", editor);
    add("chooser", portal).parent = "e";
    popup("menu", portal, "chooser");
    add("other", portal, "writer");

    EXPECT_EQ(identifierOf("chooser"), "org.example.Editor"); // It has no entry itself.
    EXPECT_THAT(hiddenBy("org.example.Editor"), ElementsAre("chooser", "e", "menu"));
}

TEST_F(WindowOwnershipTest, hidesAChooserWithAnEntryAllTheSame)
{
    add("w", office, "writer");
    add("e", editor).parent = "w";

    EXPECT_EQ(identifierOf("e"), "org.example.Editor");
    EXPECT_THAT(hiddenBy("writer"), ElementsAre("e", "w"));
    EXPECT_THAT(hiddenBy("org.example.Editor"), ElementsAre("e"));
}

TEST_F(WindowOwnershipTest, givesAPopupItsParentsApplicationWhateverItsProgram)
{
    add("own word", editor, "calc");
    popup("menu", editor, "own word");
    popup("submenu", editor, "menu");

    EXPECT_EQ(identifierOf("menu"), "calc");
    EXPECT_EQ(identifierOf("submenu"), "calc");
}

TEST_F(WindowOwnershipTest, hidesAPopupWithoutAParentWithAllOfItsProcess)
{
    add("e", editor, "calc");
    add("w", editor, "writer");
    popup("tip", editor, "");

    EXPECT_THAT(hiddenBy("calc"), ElementsAre("e", "tip"));
    EXPECT_THAT(hiddenBy("writer"), ElementsAre("tip", "w"));
}

TEST_F(WindowOwnershipTest, identifiesAPopupOfAProcessWithoutOtherWindowsByItsProgram)
{
    popup("tip", editor, "");

    EXPECT_EQ(identifierOf("tip"), "org.example.Editor");
}

TEST_F(WindowOwnershipTest, survivesParentsInACircleAndParentsThatAreGone)
{
    add("a", python).parent = "b";
    add("b", python).parent = "a";
    add("self", python).parent = "self";
    add("orphan", editor).parent = "gone";

    EXPECT_EQ(identifierOf("a"), "python3.11");
    EXPECT_EQ(identifierOf("self"), "python3.11");
    EXPECT_EQ(identifierOf("orphan"), "org.example.Editor");
}

TEST_F(WindowOwnershipTest, knowsWindowsOfUnknownProcessesByTheirWords)
{
    add("e", 0, "org.example.Editor").pid = std::nullopt;

    EXPECT_EQ(identifierOf("e"), "org.example.Editor");
    EXPECT_THAT(hiddenBy("org.example.Editor"), ElementsAre("e"));
}

TEST_F(WindowOwnershipTest, hidesAWindowOfAnotherMomentWithAnything)
{
    add("e", editor);
    auto const snapshot = desktop.look();
    CompositorWindow const other{.id = "new", .pid = editor};

    EXPECT_TRUE(snapshot->owners().namesOf(other).isHidden({"whatever"}));
    EXPECT_FALSE(snapshot->owners().namesOf(other).isHidden({}));
    EXPECT_EQ(snapshot->owners().application(other).location, std::nullopt);
}

} // namespace
} // namespace zelvo::test
