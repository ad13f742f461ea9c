// The owner's side of the clipboard: what other clients receive.
#include "desktop/x11/ClipboardFixture.h"
#include "platform/linux/x11/clipboard/ClipboardBytes.h"

#include <algorithm>
#include <cstring>

namespace zelvo::test {
namespace {

constexpr std::size_t oneMiB = std::size_t{1} << 20;

class PasteboardServing : public ClipboardFixture {
protected:
    xcb_timestamp_t since(ClipboardPeer& to)
    {
        auto const time = given(to, "TIMESTAMP");
        return time && time->format == 32 ? time->numbers().at(0) : 0;
    }
    /// Begins to read a long text and stops after the first reply.
    void beginReading(ClipboardPeer& to)
    {
        to.collects = false;
        to.ask("UTF8_STRING");
        ASSERT_TRUE(until([&] { return !to.answers.empty(); }));
    }
    /// Each begins an incremental transfer.
    void fillAllPlaces(ClipboardPeer& to, int places = 64)
    {
        to.collects = false;
        for (int place = 0; place < places; ++place)
            to.ask("UTF8_STRING", "PLACE" + std::to_string(place));
        auto const asked = static_cast<std::size_t>(places);
        ASSERT_TRUE(until([&] { return to.answers.size() == asked; }));
        ASSERT_TRUE(std::ranges::all_of(to.answers, [](auto const& each) { return each.property != 0; }));
    }
};

TEST_F(PasteboardServing, givesEachForm)
{
    ClipboardPeer& other = peer();
    ASSERT_TRUE(set("Grüße € 漢"));

    for (std::string const form : {"UTF8_STRING", "text/plain;charset=utf-8", "text/plain", "TEXT"}) {
        auto const value = given(other, form);
        ASSERT_TRUE(value) << form;
        EXPECT_EQ(value->bytes, "Grüße € 漢") << form;
        EXPECT_EQ(value->type, other.atom(form == "TEXT" ? "UTF8_STRING" : form)) << form;
        EXPECT_EQ(value->format, 8) << form;
    }
    auto const latin1 = given(other, "STRING");
    ASSERT_TRUE(latin1);
    EXPECT_EQ(latin1->bytes, "Gr\xfc\xdf"
                             "e ? ?");
    EXPECT_EQ(latin1->type, other.atom("STRING"));
}

TEST_F(PasteboardServing, givesAnEmptyText)
{
    ClipboardPeer& other = peer();
    ASSERT_TRUE(set(""));

    auto const value = given(other, "UTF8_STRING");

    ASSERT_TRUE(value);
    EXPECT_EQ(value->bytes, "");
    EXPECT_EQ(value->type, other.atom("UTF8_STRING"));
}

TEST_F(PasteboardServing, tellsItsForms)
{
    ClipboardPeer& other = peer();
    ASSERT_TRUE(set("text"));

    auto const value = given(other, "TARGETS");

    ASSERT_TRUE(value);
    EXPECT_EQ(value->type, other.atom("ATOM"));
    EXPECT_EQ(value->format, 32);
    std::vector<std::uint32_t> wanted;
    for (char const* const name : {"TARGETS", "TIMESTAMP", "MULTIPLE", "UTF8_STRING",
                                   "text/plain;charset=utf-8", "text/plain", "TEXT", "STRING"})
        wanted.push_back(other.atom(name));
    EXPECT_EQ(value->numbers(), wanted);
}

TEST_F(PasteboardServing, refusesOtherForms)
{
    ClipboardPeer& other = peer();
    ASSERT_TRUE(set("text"));

    EXPECT_FALSE(given(other, "image/png"));
    EXPECT_FALSE(given(other, "text/html"));
    EXPECT_FALSE(given(other, "SAVE_TARGETS"));
    EXPECT_EQ(other.answers.size(), 3u);
}

TEST_F(PasteboardServing, tellsARealTimeAndRefusesWhoAsksForAnEarlierOne)
{
    ClipboardPeer& other = peer();
    ASSERT_TRUE(set("text"));
    xcb_timestamp_t const time = since(other);
    ASSERT_NE(time, 0u);
    other.answers.clear();

    other.ask("UTF8_STRING", "ANSWER", time - 1);
    ASSERT_TRUE(until([&] { return other.answers.size() == 1; }));
    EXPECT_EQ(other.answers.back().property, 0u);
    EXPECT_EQ(other.answers.back().time, time - 1);

    other.ask("UTF8_STRING", "ANSWER", time);
    ASSERT_TRUE(until([&] { return other.received.has_value(); }));
    EXPECT_EQ(other.received->bytes, "text");
}

TEST_F(PasteboardServing, takesTheFormForTheMissingPropertyOfAnOldProgram)
{
    ClipboardPeer& other = peer();
    ASSERT_TRUE(set("text"));

    other.ask("STRING", "");

    ASSERT_TRUE(until([&] { return other.received.has_value(); }));
    EXPECT_EQ(other.answers.back().property, other.atom("STRING"));
    EXPECT_EQ(other.received->bytes, "text");
}

TEST_F(PasteboardServing, makesSeveralConversionsAtOnce)
{
    ClipboardPeer& other = peer();
    ASSERT_TRUE(set("é"));
    other.setNumbers("LIST", "ATOM_PAIR",
                     {other.atom("UTF8_STRING"), other.atom("A"), other.atom("image/png"), other.atom("B"),
                      other.atom("STRING"), other.atom("C"), other.atom("TARGETS"), 0, other.atom("MULTIPLE"),
                      other.atom("D")});

    other.ask("MULTIPLE", "LIST");

    ASSERT_TRUE(until([&] { return other.answers.size() == 1; }));
    EXPECT_EQ(other.answers[0].property, other.atom("LIST"));
    EXPECT_EQ(other.read("A").bytes, "é");
    EXPECT_EQ(other.read("B").type, 0u);
    EXPECT_EQ(other.read("C").bytes, "\xe9");
    std::vector<std::uint32_t> const results = {
        other.atom("UTF8_STRING"), other.atom("A"), 0, 0, other.atom("STRING"), other.atom("C"), 0, 0, 0, 0};
    EXPECT_EQ(other.read("LIST").numbers(), results);
}

TEST_F(PasteboardServing, refusesAListThatIsNone)
{
    ClipboardPeer& other = peer();
    ASSERT_TRUE(set("text"));
    std::uint32_t const form = other.atom("UTF8_STRING");
    other.setNumbers("ODD", "ATOM_PAIR", {form, other.atom("A"), form});
    other.setNumbers("EMPTY", "ATOM_PAIR", {});
    other.setNumbers("LONG", "ATOM_PAIR", std::vector<std::uint32_t>(2000, form));

    std::size_t answers = 0;
    for (char const* const property : {"ODD", "EMPTY", "LONG", "MISSING", ""}) {
        other.ask("MULTIPLE", property);
        ASSERT_TRUE(until([&] { return other.answers.size() == answers + 1; })) << property;
        EXPECT_EQ(other.answers.back().property, 0u) << property;
        ++answers;
    }
    EXPECT_EQ(given(other, "UTF8_STRING")->bytes, "text");
}

TEST_F(PasteboardServing, sendsALongTextInPieces)
{
    ClipboardPeer& other = peer();
    for (std::size_t const size : {oneMiB / 4, oneMiB / 4 + 1, oneMiB, 20 * oneMiB}) {
        std::string const text = longText(size);
        ASSERT_TRUE(set(text));

        auto const value = given(other, "UTF8_STRING");

        ASSERT_TRUE(value) << size;
        EXPECT_TRUE(value->bytes == text) << size;
        EXPECT_EQ(value->type, other.atom("UTF8_STRING"));
    }
}

TEST_F(PasteboardServing, sendsToSeveralAtOnceInTheirOwnForms)
{
    std::string const text = longText(2 * oneMiB);
    ASSERT_TRUE(set(text));
    std::vector<std::string> const forms = {"UTF8_STRING", "STRING", "text/plain", "TEXT"};
    std::vector<ClipboardPeer*> others;
    for (std::string const& form : forms) {
        others.push_back(&peer());
        others.back()->ask(form);
    }

    ASSERT_TRUE(until([&] {
        return std::ranges::all_of(others, [](auto const* each) { return each->received.has_value(); });
    }));

    for (std::size_t at = 0; at < forms.size(); ++at)
        EXPECT_TRUE(others[at]->received->bytes ==
                    (forms[at] == "STRING" ? std::string(OfferedText(text).latin1()) : text))
            << forms[at];
}

TEST_F(PasteboardServing, sendsLongTextsOfAListInPieces)
{
    ClipboardPeer& other = peer();
    std::string const text = longText(oneMiB);
    ASSERT_TRUE(set(text));
    other.setNumbers("LIST", "ATOM_PAIR", {other.atom("UTF8_STRING"), other.atom("A")});
    other.ask("MULTIPLE", "LIST");
    ASSERT_TRUE(until([&] { return other.answers.size() == 1; }));

    EXPECT_EQ(other.read("A").type, other.atom("INCR"));
    std::string read;
    ASSERT_TRUE(until([&] {
        auto const piece = other.read("A");
        read += piece.bytes;
        return piece.type != 0 && piece.bytes.empty();
    }));

    EXPECT_TRUE(read == text);
}

TEST_F(PasteboardServing, finishesTheOldTextWhenANewOneIsSet)
{
    ClipboardPeer& other = peer();
    std::string const text = longText(oneMiB);
    ASSERT_TRUE(set(text));
    other.ask("UTF8_STRING");
    ASSERT_TRUE(until([&] { return !other.answers.empty(); }));

    ASSERT_TRUE(set("new"));

    ASSERT_TRUE(until([&] { return other.received.has_value(); }));
    EXPECT_TRUE(other.received->bytes == text);
    EXPECT_EQ(given(other, "UTF8_STRING")->bytes, "new");
}

TEST_F(PasteboardServing, finishesTheOldTextWhenAnotherProgramTakesOver)
{
    ClipboardPeer& other = peer();
    ClipboardPeer& taker = peer();
    std::string const text = longText(oneMiB);
    ASSERT_TRUE(set(text));
    other.ask("UTF8_STRING");
    ASSERT_TRUE(until([&] { return !other.answers.empty(); }));

    taker.serve("theirs");

    ASSERT_TRUE(until([&] { return other.received.has_value(); }));
    EXPECT_TRUE(other.received->bytes == text);
    EXPECT_EQ(get(), "theirs");
}

TEST_F(PasteboardServing, beginsAnewForTheSameProperty)
{
    ClipboardPeer& other = peer();
    std::string const text = longText(oneMiB);
    ASSERT_TRUE(set(text));
    beginReading(other);
    other.collects = true;

    EXPECT_TRUE(given(other, "UTF8_STRING")->bytes == text);
}

TEST_F(PasteboardServing, refusesMoreThanItsPlacesAndGoesOn)
{
    ClipboardPeer& greedy = peer();
    ClipboardPeer& other = peer();
    ASSERT_TRUE(set(longText(oneMiB)));

    fillAllPlaces(greedy);

    EXPECT_FALSE(given(other, "UTF8_STRING"));
    EXPECT_TRUE(given(other, "TARGETS"));
    ASSERT_TRUE(set("short"));
    EXPECT_EQ(given(other, "UTF8_STRING")->bytes, "short");
}

TEST_F(PasteboardServing, givesUpWhoStopsInTheMiddle)
{
    ClipboardPeer& lazy = peer();
    ClipboardPeer& other = peer();
    std::string const text = longText(oneMiB);
    ASSERT_TRUE(set(text));
    fillAllPlaces(lazy);
    ASSERT_FALSE(given(other, "UTF8_STRING"));

    clock.advance(31s);

    auto const value = given(other, "UTF8_STRING");
    ASSERT_TRUE(value);
    EXPECT_TRUE(value->bytes == text);
    clock.advance(10min);
    EXPECT_EQ(clock.sleeperCount(), 0u);
}

TEST_F(PasteboardServing, forgetsWhoVanishesInTheMiddle)
{
    ClipboardPeer& vanishing = peer();
    ClipboardPeer& other = peer();
    std::string const text = longText(oneMiB);
    ASSERT_TRUE(set(text));
    fillAllPlaces(vanishing);
    ASSERT_FALSE(given(other, "UTF8_STRING"));

    vanishing.vanish();

    ASSERT_TRUE(until([&] { return given(other, "UTF8_STRING").has_value(); }));
    EXPECT_TRUE(other.received->bytes == text);
}

TEST_F(PasteboardServing, forgetsWhoHasVanishedBeforeTheAnswer)
{
    ClipboardPeer& other = peer();
    std::string const text = longText(oneMiB);
    ASSERT_TRUE(set(text));
    for (int gone = 0; gone < 70; ++gone) {
        ClipboardPeer vanishing(desktop.display());
        vanishing.ask("UTF8_STRING");
        syncWith(vanishing.x());
    }

    ASSERT_TRUE(until([&] { return given(other, "UTF8_STRING").has_value(); }));
    EXPECT_TRUE(other.received->bytes == text);
}

TEST_F(PasteboardServing, keepsNoMoreThanAFewOldTextsForThoseWhoDoNotTakeThem)
{
    std::vector<ClipboardPeer*> others;
    for (int text = 0; text < 6; ++text) {
        ASSERT_TRUE(set(longText(oneMiB + static_cast<std::size_t>(text))));
        others.push_back(&peer());
        beginReading(*others.back());
    }

    for (ClipboardPeer* const other : others) {
        EXPECT_EQ(other->read("ANSWER").type, other->atom("INCR"));
        syncWith(other->x());
    }

    for (std::size_t at = 0; at < others.size(); ++at) {
        bool const isKept = at >= 2;
        auto const hasCome = [&] {
            pump();
            return !others[at]->read("ANSWER").bytes.empty();
        };
        EXPECT_EQ(isKept ? waitFor(hasCome) : hasCome(), isKept) << at;
    }
}

TEST_F(PasteboardServing, isNotMisledByAQuestionInTheNameOfItsOwnWindow)
{
    ClipboardPeer& hostile = peer();
    ClipboardPeer& other = peer();
    std::string const text = longText(oneMiB);
    ASSERT_TRUE(set(text));
    XReply<xcb_get_selection_owner_reply_t> const owner(xcb_get_selection_owner_reply(
        hostile.x(), xcb_get_selection_owner(hostile.x(), hostile.atom("CLIPBOARD")), nullptr));

    xcb_convert_selection(hostile.x(), owner->owner, hostile.atom("CLIPBOARD"), hostile.atom("UTF8_STRING"),
                          hostile.atom("ANY"), XCB_CURRENT_TIME);
    syncWith(hostile.x());
    pump();
    clock.advance(31s);

    EXPECT_TRUE(given(other, "UTF8_STRING")->bytes == text);
    ASSERT_TRUE(set("new"));
    EXPECT_EQ(given(other, "UTF8_STRING")->bytes, "new");
}

TEST_F(PasteboardServing, doesNotBelieveForgedEvents)
{
    ClipboardPeer& hostile = peer();
    ClipboardPeer& other = peer();
    ASSERT_TRUE(set("text"));
    XReply<xcb_get_selection_owner_reply_t> const owner(xcb_get_selection_owner_reply(
        hostile.x(), xcb_get_selection_owner(hostile.x(), hostile.atom("CLIPBOARD")), nullptr));
    xcb_selection_clear_event_t clear{};
    clear.response_type = XCB_SELECTION_CLEAR;
    clear.time = since(other) + 1;
    clear.owner = owner->owner;
    clear.selection = hostile.atom("CLIPBOARD");
    char whole[32] = {};
    std::memcpy(whole, &clear, sizeof clear);

    xcb_send_event(hostile.x(), 0, owner->owner, XCB_EVENT_MASK_NO_EVENT, whole);
    syncWith(hostile.x());

    EXPECT_EQ(given(other, "UTF8_STRING")->bytes, "text");
}

TEST_F(PasteboardServing, isNotOursOnceAnotherProgramTakesIt)
{
    ClipboardPeer& other = peer();
    ASSERT_TRUE(set("ours"));

    other.serve("theirs");
    EXPECT_EQ(get(), "theirs");

    ASSERT_TRUE(set("ours again"));
    EXPECT_FALSE(other.owns());
    EXPECT_EQ(get(), "ours again");
    EXPECT_EQ(given(other, "UTF8_STRING")->bytes, "ours again");
}

TEST_F(PasteboardServing, knowsWhoseItIsWhenTwoTakeItAtTheSameMoment)
{
    ClipboardPeer& other = peer();
    for (int round = 0; round < 100; ++round) {
        ASSERT_TRUE(set("before"));
        auto const isTaken = begin(pasteboard.setText("ours"));
        settle(io); // It has asked for the time.
        other.serve("theirs");
        ASSERT_TRUE(until([&] { return isTaken->has_value(); }));

        bool const isOurs = !other.owns(); // It may have been ours, too, and be theirs by now.
        EXPECT_TRUE(**isTaken || !isOurs) << round;
        ASSERT_EQ(get(), isOurs ? "ours" : "theirs") << round;
        if (isOurs) {
            auto const value = given(other, "UTF8_STRING");
            ASSERT_TRUE(value) << round;
            EXPECT_EQ(value->bytes, "ours");
        }
    }
}

TEST_F(PasteboardServing, readsItsOwnTextWithoutAskingAnybody)
{
    std::string const text = longText(20 * oneMiB);
    ASSERT_TRUE(set(text));

    auto const read = begin(pasteboard.text());
    settle(io);

    ASSERT_TRUE(*read);
    EXPECT_TRUE(**read == text);
}

TEST_F(PasteboardServing, repairsWhatIsNotUtf8)
{
    ClipboardPeer& other = peer();
    ASSERT_TRUE(set("a\xff"));

    EXPECT_EQ(given(other, "UTF8_STRING")->bytes, "a\xef\xbf\xbd");
    EXPECT_EQ(get(), "a\xef\xbf\xbd");
}

TEST_F(PasteboardServing, handsItsTextOverToAManager)
{
    ClipboardPeer& other = peer();
    ClipboardPeer& manager = peer();
    manager.take("CLIPBOARD_MANAGER");
    std::string const text = longText(oneMiB);
    ASSERT_TRUE(set(text));
    std::int64_t const changes = pasteboard.changeCount();
    std::optional<ClipboardPeer::Asked> saving;
    manager.onRequest = [&](ClipboardPeer::Asked const& asked) {
        saving = asked;
        manager.ask("UTF8_STRING");
    };

    auto const hand = [this]() -> Task<bool> {
        co_await pasteboard.handOver();
        co_return true;
    };
    auto const done = begin(hand());
    ASSERT_TRUE(until([&] { return manager.received.has_value(); }));
    EXPECT_FALSE(done->has_value());
    ASSERT_TRUE(saving);
    EXPECT_EQ(saving->target, manager.atom("SAVE_TARGETS"));
    EXPECT_NE(saving->time, 0u);
    std::string const kept = manager.received->bytes;
    manager.give(*saving, "NULL", 32, "");
    ASSERT_TRUE(until([&] { return done->has_value(); }));
    manager.serve(kept);

    EXPECT_TRUE(kept == text);
    EXPECT_TRUE(given(other, "UTF8_STRING")->bytes == text);
    pump();
    EXPECT_EQ(pasteboard.changeCount(), changes); // It is the same text.
    EXPECT_EQ(clock.sleeperCount(), 1u);          // The long text's, which has gone over.
}

TEST_F(PasteboardServing, doesNotWaitForAManagerThatHangs)
{
    ClipboardPeer& manager = peer();
    manager.take("CLIPBOARD_MANAGER");
    manager.onRequest = [](ClipboardPeer::Asked const&) {};
    ASSERT_TRUE(set("text"));
    bool done = false;
    spawn(io.get_executor(), [&]() -> Task<> {
        co_await pasteboard.handOver();
        done = true;
    });
    ASSERT_TRUE(until([&] { return !manager.targetsAsked.empty(); }));
    pump();
    EXPECT_FALSE(done);

    clock.advance(1500ms);

    EXPECT_TRUE(done);
}

TEST_F(PasteboardServing, handsNothingOverWithoutAManagerOrAText)
{
    ClipboardPeer& other = peer();
    run(io, pasteboard.handOver());
    ASSERT_TRUE(set("text"));
    run(io, pasteboard.handOver());
    other.take("CLIPBOARD_MANAGER");
    other.serve("theirs");
    run(io, pasteboard.handOver());

    EXPECT_TRUE(other.targetsAsked.empty());
}

} // namespace
} // namespace zelvo::test
