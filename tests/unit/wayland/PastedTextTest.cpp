#include "unit/wayland/PostingFixture.h"

#include <algorithm>

namespace zelvo {
namespace {

class PastedTextTest : public WaylandEventPostingTest {};

TEST_F(PastedTextTest, pastesWhereTextCannotBeInsertedAndPutsTheClipboardBack)
{
    copied.copy("theirs");
    insertion.place = TextInsertion::Place{.isReadable = true};
    insertion.text = "漢字";

    EXPECT_TRUE(type("漢字"));

    EXPECT_EQ(sink.log, (Strings{"down 29", "down 47", "up 47", "up 29"}));
    EXPECT_EQ(copied.plain(), "theirs");
}

TEST_F(PastedTextTest, pastesIntoTerminalsWithShift)
{
    insertion.place = TextInsertion::Place{.isTerminal = true};
    pasteWorks();

    EXPECT_TRUE(type("漢字"));

    EXPECT_EQ(sink.log, (Strings{"down 29", "down 42", "down 47", "up 47", "up 42", "up 29"}));
}

TEST_F(PastedTextTest, strikesLineEndsBetweenPastes)
{
    pasteWorks();

    EXPECT_TRUE(type("漢\r\n字\t"));

    EXPECT_EQ(sink.log, (Strings{"down 29", "down 47", "up 47", "up 29", "down 28", "up 28", "down 29",
                                 "down 47", "up 47", "up 29", "down 15", "up 15"}));
}

TEST_F(PastedTextTest, saysWhenPastedTextDoesNotArrive)
{
    insertion.place = TextInsertion::Place{.isReadable = true};
    insertion.text = "something else";

    EXPECT_THROW(type("漢字"), DetailedAgentError);
}

TEST_F(PastedTextTest, keepsWhatSomebodyCopiedWhileItPasted)
{
    copied.copy("theirs");
    insertion.place = TextInsertion::Place{.isReadable = true};
    run(io, posting.beginText("漢"));
    insertion.text = "漢";
    ASSERT_TRUE(post(TextEvent{.text = "漢"}));
    copied.copy("newer");

    run(io, posting.endText());

    EXPECT_EQ(copied.plain(), "newer");
}

TEST_F(PastedTextTest, givesTheClipboardBackAsSoonAsThePasteWasRead)
{
    ClipboardForms const theirs{{"image/png", "picture"}, {"text/html", "<b>"}};
    copied.copy(theirs);
    pasteWorks();
    Instant const start = clock.now();

    EXPECT_TRUE(type("漢字"));

    EXPECT_LT(clock.now() - start, 200ms);
    EXPECT_EQ(copied.content, theirs);
    EXPECT_EQ(copied.lent, (Strings{"漢字"}));
}

TEST_F(PastedTextTest, saysWhenNobodyReadsThePaste)
{
    copied.copy("theirs");

    EXPECT_THROW(type("漢字"), DetailedAgentError);
    EXPECT_EQ(copied.waits, (std::vector<Duration>{1500ms}));
    run(io, posting.endText());

    EXPECT_EQ(copied.plain(), "theirs");
}

TEST_F(PastedTextTest, trustsAProgramThatReadsBeforeItHasTheKeys)
{
    copied.copy("theirs");
    copied.onLend = [this] { ++*copied.reads; };

    EXPECT_TRUE(type("漢字"));

    EXPECT_EQ(copied.plain(), "theirs");
}

TEST_F(PastedTextTest, leavesTimeToReadWhereNobodySaysWhoReads)
{
    copied.copy("theirs");
    copied.reads.reset();
    Instant const start = clock.now();

    EXPECT_TRUE(type("漢字"));

    EXPECT_GE(clock.now() - start, 1500ms);
    EXPECT_EQ(copied.plain(), "theirs");
}

TEST_F(PastedTextTest, replacesNothingThatItCannotPutBack)
{
    copied.copy("theirs");
    copied.canKeep = false;

    EXPECT_THROW(type("漢字"), DetailedAgentError);

    EXPECT_TRUE(copied.lent.empty());
    EXPECT_TRUE(sink.log.empty());
}

TEST_F(PastedTextTest, keepsWhatSomebodyCopiesBetweenPieces)
{
    copied.copy("theirs");
    pasteWorks();
    run(io, posting.beginText("漢字"));
    TextEvent const first{.text = "漢"};
    EXPECT_TRUE(take(posting.post(first)));
    copied.copy("newer");
    TextEvent const second{.text = "字"};

    EXPECT_TRUE(take(posting.post(second)));
    take(posting.endText());

    EXPECT_EQ(copied.plain(), "newer");
}

} // namespace
} // namespace zelvo
