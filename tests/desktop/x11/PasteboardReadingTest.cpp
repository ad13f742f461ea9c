// The requestor's side of the clipboard: reading from good and bad clients, and counting changes.
#include "desktop/x11/ClipboardFixture.h"
#include "platform/linux/x11/windows/X11WindowList.h"

#include <gmock/gmock.h>

#include <unistd.h>

namespace zelvo::test {
namespace {

constexpr std::size_t oneMiB = std::size_t{1} << 20;

class PasteboardReading : public ClipboardFixture {
protected:
    /// An owner that serves `form` incrementally and refuses other targets.
    void givePieces(ClipboardPeer& owner,
                    std::function<std::optional<std::string>()> next,
                    std::uint32_t saidSize = 1)
    {
        owner.onRequest = [&owner, next = std::move(next), saidSize](ClipboardPeer::Asked const& asked) {
            if (asked.target == owner.atom("UTF8_STRING"))
                owner.giveInPieces(asked, "UTF8_STRING", next, saidSize);
            else
                owner.answer(asked, XCB_NONE);
        };
        owner.take();
    }
    /// An owner that answers the first target with odd data, and serves the text as STRING.
    void giveStrange(ClipboardPeer& owner, std::function<void(ClipboardPeer::Asked const&)> strange)
    {
        owner.onRequest = [&owner, strange = std::move(strange)](ClipboardPeer::Asked const& asked) {
            if (asked.target == owner.atom("UTF8_STRING"))
                strange(asked);
            else if (asked.target == owner.atom("STRING"))
                owner.give(asked, "STRING", 8, "after all");
            else
                owner.answer(asked, XCB_NONE);
        };
        owner.take();
    }
};

TEST_F(PasteboardReading, isEmptyWithoutAnOwner)
{
    EXPECT_EQ(get(), "");
    EXPECT_EQ(clock.sleeperCount(), 0u);
}

TEST_F(PasteboardReading, readsEachForm)
{
    ClipboardPeer& owner = peer();
    owner.serve("Grüße 漢", "UTF8_STRING");
    EXPECT_EQ(get(), "Grüße 漢");
    owner.serve("Grüße 漢", "text/plain;charset=utf-8");
    EXPECT_EQ(get(), "Grüße 漢");
    owner.serve("Gr\xfc\xdf"
                "e",
                "STRING");
    EXPECT_EQ(get(), "Grüße");
    owner.serve("Gr\xfc\xdf"
                "e",
                "text/plain");
    EXPECT_EQ(get(), "Grüße");
    owner.serve("Grüße 漢", "text/plain");
    EXPECT_EQ(get(), "Grüße 漢");
}

TEST_F(PasteboardReading, takesTheTypeThatItIsGivenForTextOfAnyKind)
{
    ClipboardPeer& owner = peer();
    owner.onRequest = [&](ClipboardPeer::Asked const& asked) {
        asked.target == owner.atom("TEXT") ? owner.give(asked, "STRING", 8, "\xe9")
                                           : owner.answer(asked, XCB_NONE);
    };
    owner.take();

    EXPECT_EQ(get(), "é");
}

TEST_F(PasteboardReading, asksWithARealTime)
{
    ClipboardPeer& owner = peer();
    std::vector<xcb_timestamp_t> times;
    owner.onRequest = [&](ClipboardPeer::Asked const& asked) {
        times.push_back(asked.time);
        owner.answer(asked, XCB_NONE);
    };
    owner.take();

    EXPECT_EQ(get(), "");

    EXPECT_EQ(times.size(), 5u);
    EXPECT_THAT(times, testing::Each(testing::Ne(0u)));
}

TEST_F(PasteboardReading, repairsWhatIsNotUtf8)
{
    ClipboardPeer& owner = peer();
    owner.serve("a\xff"
                "b\xe2\x82");

    EXPECT_EQ(get(), "a\xef\xbf\xbd"
                     "b\xef\xbf\xbd");
}

TEST_F(PasteboardReading, readsALongTextWhole)
{
    ClipboardPeer& owner = peer();
    for (std::size_t const size : {oneMiB, 12 * oneMiB}) { // In one property, by several looks.
        std::string const text = longText(size);
        owner.serve(text);
        EXPECT_TRUE(get() == text) << size;
    }
}

TEST_F(PasteboardReading, readsALongTextInPieces)
{
    ClipboardPeer& owner = peer();
    for (auto const& [size, piece] : std::vector<std::pair<std::size_t, std::size_t>>{
             {1, 1}, {1000, 7}, {oneMiB, 65536}, {20 * oneMiB, oneMiB}, {20 * oneMiB, 262144}}) {
        std::string const text = longText(size);
        owner.serve(text, "UTF8_STRING", piece);
        EXPECT_TRUE(get() == text) << size << " in pieces of " << piece;
    }
}

TEST_F(PasteboardReading, readsAnEmptyTextInPieces)
{
    ClipboardPeer& owner = peer();
    owner.serve("", "UTF8_STRING", 10);

    EXPECT_EQ(get(), "");
    EXPECT_EQ(owner.targetsAsked.size(), 1u);
}

TEST_F(PasteboardReading, servesSeveralReadersAtOnce)
{
    ClipboardPeer& owner = peer();
    std::string const text = longText(oneMiB);
    owner.serve(text, "UTF8_STRING", 65536);

    std::vector<std::shared_ptr<std::optional<std::string>>> readers;
    for (int reader = 0; reader < 5; ++reader)
        readers.push_back(begin(pasteboard.text()));

    for (auto const& reader : readers) {
        ASSERT_TRUE(until([&] { return reader->has_value(); }));
        EXPECT_TRUE(**reader == text);
    }
}

TEST_F(PasteboardReading, isEmptyWhenTheOwnerHangs)
{
    ClipboardPeer& hanging = peer();
    std::vector<ClipboardPeer::Asked> asked;
    hanging.onRequest = [&](ClipboardPeer::Asked const& request) { asked.push_back(request); };
    hanging.take();
    auto const read = begin(pasteboard.text());
    ASSERT_TRUE(until([&] { return asked.size() == 1; }));
    clock.advance(4999ms);
    pump();
    EXPECT_FALSE(*read);

    clock.advance(1ms);
    ASSERT_TRUE(until([&] { return read->has_value(); }));
    EXPECT_EQ(**read, "");
    EXPECT_EQ(clock.sleeperCount(), 0u);

    // A late answer is not taken for the next owner's.
    ClipboardPeer& good = peer();
    good.serve("good");
    auto const next = begin(pasteboard.text());
    hanging.give(asked[0], "UTF8_STRING", 8, "late");
    ASSERT_TRUE(until([&] { return next->has_value(); }));
    EXPECT_EQ(**next, "good");
}

TEST_F(PasteboardReading, isEmptyWhenTheOwnerHangsInTheMiddle)
{
    ClipboardPeer& owner = peer();
    int pieces = 0;
    givePieces(owner, [&] { return ++pieces <= 3 ? std::optional<std::string>("piece") : std::nullopt; });
    auto const read = begin(pasteboard.text());
    ASSERT_TRUE(until([&] { return pieces == 4; }));
    pump();
    EXPECT_FALSE(*read);

    clock.advance(5s);

    ASSERT_TRUE(until([&] { return read->has_value(); }));
    EXPECT_EQ(**read, "");
}

TEST_F(PasteboardReading, isEmptyAtOnceWhenTheOwnerEndsInTheMiddle)
{
    ClipboardPeer& owner = peer();
    int pieces = 0;
    givePieces(owner, [&] {
        if (++pieces == 3)
            owner.vanish();
        return std::optional<std::string>("piece");
    });

    EXPECT_EQ(get(), "");
    EXPECT_EQ(pieces, 3);
}

TEST_F(PasteboardReading, isEmptyAtOnceWhenTheOwnerEndsBeforeItAnswers)
{
    ClipboardPeer& owner = peer();
    owner.onRequest = [&](ClipboardPeer::Asked const&) { owner.vanish(); };
    owner.take();

    EXPECT_EQ(get(), "");
}

TEST_F(PasteboardReading, readsWhatAnOwnerHasGivenThatThenEnded)
{
    ClipboardPeer& owner = peer();
    owner.onRequest = [&](ClipboardPeer::Asked const& asked) {
        owner.give(asked, "UTF8_STRING", 8, "its last word");
        syncWith(owner.x()); // The server drops what a client has left unread at its end.
        owner.vanish();
    };
    owner.take();

    EXPECT_EQ(get(), "its last word");
}

TEST_F(PasteboardReading, readsTheLastPieceOfAnOwnerThatThenEnded)
{
    ClipboardPeer& owner = peer();
    std::optional<ClipboardPeer::Asked> asked;
    int pieces = 0;
    owner.onRequest = [&](ClipboardPeer::Asked const& request) {
        asked = request;
        owner.giveInPieces(request, "UTF8_STRING", [&]() -> std::optional<std::string> {
            if (++pieces <= 2)
                return "piece";
            owner.put(*asked, "UTF8_STRING", 8, "");
            syncWith(owner.x());
            owner.vanish();
            return std::nullopt;
        });
    };
    owner.take();

    EXPECT_EQ(get(), "piecepiece");
}

TEST_F(PasteboardReading, followsAnOwnerThatHasLostTheClipboardInTheMiddle)
{
    ClipboardPeer& owner = peer();
    ClipboardPeer& next = peer();
    int pieces = 0;
    givePieces(owner, [&] {
        if (++pieces == 2)
            next.serve("next");
        if (pieces == 3)
            next.vanish();
        return std::optional<std::string>(pieces <= 4 ? "piece" : "");
    });

    EXPECT_EQ(get(), "piecepiecepiecepiece");
}

TEST_F(PasteboardReading, isNotMisledByTheEndOfAnEarlierOwner)
{
    for (int round = 0; round < 30; ++round) {
        ClipboardPeer& ending = peer();
        ClipboardPeer& owner = peer();
        ending.serve("earlier");
        ASSERT_EQ(get(), "earlier");

        ending.vanish();
        owner.serve("now");

        ASSERT_EQ(get(), "now") << round;
    }
}

TEST_F(PasteboardReading, doesNotFollowATextWithoutEnd)
{
    ClipboardPeer& owner = peer();
    std::string const piece(oneMiB, 'x');
    givePieces(owner, [&] { return std::optional(piece); });

    EXPECT_EQ(get(), "");
    EXPECT_LE(owner.piecesTaken, 34);
}

TEST_F(PasteboardReading, doesNotWaitForEverForDribbles)
{
    ClipboardPeer& owner = peer();
    std::optional<ClipboardPeer::Asked> asked;
    owner.onRequest = [&](ClipboardPeer::Asked const& request) {
        asked = request;
        owner.giveInPieces(request, "UTF8_STRING", [] { return std::optional<std::string>(); });
    };
    owner.take();
    auto const read = begin(pasteboard.text());

    for (int piece = 1; !*read && piece < 20; ++piece) {
        ASSERT_TRUE(until([&] { return owner.piecesTaken == piece || *read; }));
        clock.advance(4s);
        owner.put(*asked, "UTF8_STRING", 8, "x");
    }

    ASSERT_TRUE(*read);
    EXPECT_EQ(**read, "");
    EXPECT_EQ(owner.piecesTaken, 8); // For 30 s.
}

TEST_F(PasteboardReading, isNotMisledByASaidSize)
{
    ClipboardPeer& owner = peer();
    for (std::uint32_t const said : {0u, 1u, 0x7fffffffu, 0xffffffffu}) {
        int pieces = 0;
        givePieces(owner, [&] { return std::optional<std::string>(++pieces <= 2 ? "piece" : ""); }, said);
        EXPECT_EQ(get(), "piecepiece") << said;
    }
}

TEST_F(PasteboardReading, isEmptyForATextThatIsTooLong)
{
    ClipboardPeer& owner = peer();
    std::string const part(11 * oneMiB, 'x');
    giveStrange(owner, [&](ClipboardPeer::Asked const& asked) {
        owner.put(asked, "UTF8_STRING", 8, part);
        for (int more = 0; more < 2; ++more)
            xcb_change_property(owner.x(), XCB_PROP_MODE_APPEND, asked.requestor, asked.property,
                                owner.atom("UTF8_STRING"), 8, static_cast<std::uint32_t>(part.size()),
                                part.data());
        owner.answer(asked, asked.property);
    });

    EXPECT_EQ(get(), "");
}

TEST_F(PasteboardReading, asksForTheNextFormAfterAStrangeAnswer)
{
    ClipboardPeer& owner = peer();
    std::uint32_t const number = 42;
    std::string_view const bytes(reinterpret_cast<char const*>(&number), sizeof number);
    std::vector<std::function<void(ClipboardPeer::Asked const&)>> const strange = {
        [&](auto const& asked) { owner.give(asked, "UTF8_STRING", 32, bytes); },
        [&](auto const& asked) { owner.give(asked, "UTF8_STRING", 16, bytes); },
        [&](auto const& asked) { owner.give(asked, "PIXMAP", 32, bytes); },
        [&](auto const& asked) { owner.give(asked, "image/png", 8, bytes); },
        [&](auto const& asked) { owner.answer(asked, asked.property); }, // Nothing is there.
        [&](auto const& asked) { owner.answer(asked, owner.atom("OTHER")); },
    };
    for (std::size_t at = 0; at < strange.size(); ++at) {
        giveStrange(owner, strange[at]);
        EXPECT_EQ(get(), "after all") << at;
    }
}

TEST_F(PasteboardReading, isEmptyWhenPiecesAreOfAnotherKind)
{
    ClipboardPeer& owner = peer();
    giveStrange(owner, [&](ClipboardPeer::Asked const& asked) {
        int pieces = 0;
        owner.giveInPieces(asked, "UTF8_STRING", [&owner, asked, pieces]() mutable {
            if (++pieces == 1)
                return std::optional<std::string>("piece");
            owner.put(asked, "STRING", 8, "piece");
            return std::optional<std::string>();
        });
    });

    EXPECT_EQ(get(), "");
}

TEST_F(PasteboardReading, countsTheChangesOfAll)
{
    ClipboardPeer& owner = peer();
    EXPECT_EQ(pasteboard.changeCount(), 0);

    owner.serve("one");
    EXPECT_TRUE(until([&] { return pasteboard.changeCount() == 1; }));
    owner.serve("two"); // By the same owner.
    EXPECT_TRUE(until([&] { return pasteboard.changeCount() == 2; }));
    ASSERT_TRUE(set("three"));
    EXPECT_EQ(pasteboard.changeCount(), 3);
    ASSERT_TRUE(set("four"));
    EXPECT_EQ(pasteboard.changeCount(), 4);
    EXPECT_EQ(get(), "four");
    peer().take("PRIMARY");
    pump();
    EXPECT_EQ(pasteboard.changeCount(), 4);
}

TEST_F(PasteboardReading, countsNeitherTheEndOfAnOwnerNorWhoKeepsItsText)
{
    ClipboardPeer& owner = peer();
    ClipboardPeer& manager = peer();
    manager.take("CLIPBOARD_MANAGER");
    owner.serve("kept");
    ASSERT_TRUE(until([&] { return pasteboard.changeCount() == 1; }));

    owner.vanish();
    EXPECT_EQ(get(), "");
    manager.serve("kept");
    EXPECT_EQ(get(), "kept");

    EXPECT_EQ(pasteboard.changeCount(), 1);
    ClipboardPeer& next = peer();
    next.serve("next");
    EXPECT_EQ(get(), "next");
    EXPECT_EQ(pasteboard.changeCount(), 2);
}

TEST_F(PasteboardReading, knowsAManagerThatWasThereBefore)
{
    ClipboardPeer& manager = peer();
    manager.take("CLIPBOARD_MANAGER");
    X11Pasteboard later(contextsOn(io), clock, desktop.display());
    EXPECT_EQ(await(later.text()), "");

    manager.serve("kept");
    EXPECT_EQ(await(later.text()), "kept");

    EXPECT_EQ(later.changeCount(), 0);
}

TEST_F(PasteboardReading, isInNoListOfWindows)
{
    ASSERT_TRUE(set("text"));
    ClipboardPeer& owner = peer();
    owner.onRequest = [](ClipboardPeer::Asked const&) {};
    owner.take();
    auto const read = begin(pasteboard.text());
    ASSERT_TRUE(until([&] { return !owner.targetsAsked.empty(); }));
    std::shared_ptr<X11Connection> const connection = X11Connection::open(desktop.display());
    X11DisplayLayout layout(contextsOn(io), connection);
    DesktopEntries entries;
    RecentSurvey survey(connection);
    X11WindowList list(survey, layout, entries);

    EXPECT_EQ(list.windows().value().size(), 0u);
    clock.advance(5s);
}

TEST(PasteboardWithoutServer, holdsNothing)
{
    asio::io_context io;
    ManualClock clock(&io);
    X11Pasteboard pasteboard(contextsOn(io), clock, ":9999");

    EXPECT_EQ(run(io, pasteboard.text()), "");
    EXPECT_FALSE(run(io, pasteboard.setText("text")));
    EXPECT_EQ(pasteboard.changeCount(), 0);
    run(io, pasteboard.handOver());
}

TEST_F(PasteboardReading, endsWithTheServer)
{
    auto other =
        std::make_unique<PrivateDesktop>(DesktopOptions{.windowManager = false, .sessionBus = false});
    X11Pasteboard lost(contextsOn(io), clock, other->display());
    ClipboardPeer& owner = peers.emplace_back(other->display());
    owner.onRequest = [](ClipboardPeer::Asked const&) {};
    owner.take();
    auto const read = begin(lost.text());
    ASSERT_TRUE(until([&] { return !owner.targetsAsked.empty(); }));

    other.reset();
    auto const taken = begin(lost.setText("text"));
    pump();
    clock.advance(5s);

    ASSERT_TRUE(until([&] { return read->has_value() && taken->has_value(); }));
    EXPECT_EQ(**read, "");
    EXPECT_FALSE(**taken);
}

} // namespace
} // namespace zelvo::test
