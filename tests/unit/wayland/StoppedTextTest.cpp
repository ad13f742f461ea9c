#include "unit/wayland/PostingFixture.h"

namespace zelvo {
namespace {

/// Texts that must end in the middle.
class StoppedTextTest : public WaylandEventPostingTest {
protected:
    StoppedTextTest()
    {
        posting.setMayContinue([this]() -> Task<bool> { co_return mayContinue; });
    }
    /// Calls `happen` after an event of this name.
    void after(std::string const& name, std::function<void()> happen)
    {
        sink.onEvent = [this, name, happen = std::move(happen)](std::string const& event) {
            if (event == "down 47")
                ++*copied.reads;
            if (event == name)
                happen();
        };
    }

    bool mayContinue = true; ///< false as after a lock of the screen, a pause, or a question that opens
};

TEST_F(StoppedTextTest, strikesNoKeyAfterTheGateHasClosed)
{
    after("up 30", [this] { mayContinue = false; });

    EXPECT_FALSE(type("a\nb\n"));

    EXPECT_EQ(sink.log, (Strings{"down 30", "up 30"}));
}

TEST_F(StoppedTextTest, pastesNothingAfterTheGateHasClosed)
{
    copied.copy("theirs");
    after("up 28", [this] { mayContinue = false; });

    EXPECT_FALSE(type("漢\n字\n"));

    EXPECT_EQ(sink.log, (Strings{"down 29", "down 47", "up 47", "up 29", "down 28", "up 28"}));
    EXPECT_EQ(copied.plain(), "theirs");
}

TEST_F(StoppedTextTest, commitsNoLineAfterTheGateHasClosed)
{
    sink.hasKeymap = true;
    after("type a", [this] { mayContinue = false; });

    EXPECT_FALSE(type("a\nb"));

    EXPECT_EQ(sink.log, (Strings{"type a"}));
}

TEST_F(StoppedTextTest, typesTheNextTextWhenTheGateIsOpenAgain)
{
    mayContinue = false;
    EXPECT_FALSE(type("a"));
    mayContinue = true;

    EXPECT_TRUE(type("a"));
}

TEST_F(StoppedTextTest, endsWithTheGrantAndGivesTheClipboardBack)
{
    copied.copy("theirs");
    after("up 28", [this] { sink.ready = false; });

    EXPECT_FALSE(type("漢\n字"));

    EXPECT_EQ(copied.lent, (Strings{"漢"}));
    EXPECT_EQ(copied.plain(), "theirs");
}

TEST_F(StoppedTextTest, typesNothingWithTheKeysOfAnotherLayout)
{
    keymap = SeatKeymap{.text = keymapText("us,ru"), .group = 0};
    after("up 30", [this] {
        keymap->group = 1;
        clock.jump(11ms);
    });

    EXPECT_THROW(type("ab"), DetailedAgentError);

    EXPECT_EQ(sink.log, (Strings{"down 30", "up 30"}));
}

TEST_F(StoppedTextTest, pastesWithTheKeyOfTheLayoutOfTheMoment)
{
    keymap->text = keymapText("us");
    after("up 28", [this] { keymap->text = keymapText("dvorak"); });
    insertion.place = TextInsertion::Place{.isReadable = true};
    insertion.text = "漢";

    EXPECT_TRUE(type("漢\n漢"));

    EXPECT_EQ(sink.log, (Strings{"down 29", "down 47", "up 47", "up 29", "down 28", "up 28", "down 29",
                                 "down 52", "up 52", "up 29"}));
}

} // namespace
} // namespace zelvo
