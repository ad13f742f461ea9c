// Who owns the clipboard: the process behind each change.
#include "desktop/x11/ClipboardFixture.h"

#include <gmock/gmock.h>

#include <unistd.h>

namespace zelvo::test {
namespace {

/// The pasteboard with somebody to name the processes that own the clipboard.
class PasteboardOwners : public ClipboardFixture {
protected:
    RunningApplication nameOf(std::int32_t pid)
    {
        named.push_back(pid);
        return {.pid = pid, .names = {{"peer"}}, .localizedName = ""};
    }
    std::vector<ClipboardChange> changesAfter(std::int64_t count)
    {
        return await(known.changesAfter(count)).value();
    }

    std::vector<std::int32_t> named;
    X11Pasteboard known{contextsOn(io), clock, desktop.display(),
                        [this](std::int32_t pid) { return nameOf(pid); }};
};

TEST_F(PasteboardOwners, areKnownByTheirProcess)
{
    EXPECT_TRUE(changesAfter(-1).empty());
    ClipboardPeer& owner = peer();
    owner.serve("text");
    EXPECT_EQ(await(known.text()), "text");

    auto const changes = changesAfter(0);

    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].count, 1);
    EXPECT_EQ(changes[0].owner.pid, ::getpid());
    EXPECT_EQ(changes[0].owner.names.identifier(), "peer");
    EXPECT_FALSE(changes[0].isOurs || changes[0].isManagers);
    EXPECT_TRUE(changesAfter(1).empty());
}

TEST_F(PasteboardOwners, areKnownByAnotherWindowOfTheSameClient)
{
    ClipboardPeer& owner = peer();
    auto const other = xcb_generate_id(owner.x());
    xcb_create_window(owner.x(), 0, other, screenOf(owner.x())->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, 0, 0, nullptr);
    xcb_set_selection_owner(owner.x(), other, owner.atom("CLIPBOARD"), XCB_CURRENT_TIME);
    syncWith(owner.x());

    ASSERT_TRUE(until([&] { return known.changeCount() == 1; }));

    EXPECT_EQ(changesAfter(0).at(0).owner.pid, ::getpid());
}

TEST_F(PasteboardOwners, staysKnownAfterItsEnd)
{
    ClipboardPeer& owner = peer();
    owner.serve("text");
    EXPECT_EQ(changesAfter(0).size(), 1u);
    owner.vanish();
    EXPECT_EQ(await(known.text()), "");

    EXPECT_EQ(known.changeCount(), 1);
    EXPECT_EQ(changesAfter(0).at(0).owner.names.identifier(), "peer");
}

TEST_F(PasteboardOwners, areUnknownIfTheyEndedBeforeAnybodyLooked)
{
    ClipboardPeer& watcher = peer();
    auto const windows = [&] { return childrenOf(watcher.x(), screenOf(watcher.x())->root).size(); };
    std::size_t const before = windows();
    auto& brief = peer();
    brief.serve("text");
    brief.vanish();
    ASSERT_TRUE(waitFor([&] { return windows() == before; }));

    auto const changes = changesAfter(0);

    ASSERT_EQ(changes.size(), 1u);
    EXPECT_TRUE(changes[0].owner.names.names.empty());
}

TEST_F(PasteboardOwners, ofTheContentAtTheStartAreKnownToo)
{
    ClipboardPeer& owner = peer();
    owner.serve("early");
    X11Pasteboard later(contextsOn(io), clock, desktop.display(),
                        [this](std::int32_t pid) { return nameOf(pid); });

    auto const changes = await(later.changesAfter(-1)).value();

    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].count, 0);
    EXPECT_EQ(changes[0].owner.names.identifier(), "peer");
    EXPECT_EQ(later.changeCount(), 0);
}

TEST_F(PasteboardOwners, thatAreThisProgramAreSaid)
{
    EXPECT_TRUE(await(known.setText("ours")).value());

    auto const changes = changesAfter(0);

    ASSERT_EQ(changes.size(), 1u);
    EXPECT_TRUE(changes[0].isOurs);
    EXPECT_TRUE(named.empty());
}

TEST_F(PasteboardOwners, areNotLookedUpForEachOfManyChanges)
{
    ClipboardPeer& owner = peer();
    for (int i = 0; i < 200; ++i) {
        owner.serve("text");
        pump();
    }

    EXPECT_LE(changesAfter(0).size(), 64u);
    EXPECT_EQ(changesAfter(0).back().count, 200);
    EXPECT_LE(named.size(), 3u);
}

TEST_F(PasteboardOwners, thatManageTheClipboardKeepOnlyWhatJustEnded)
{
    ClipboardPeer& manager = peer();
    manager.take("CLIPBOARD_MANAGER");
    ClipboardPeer& owner = peer();
    owner.serve("one");
    EXPECT_EQ(changesAfter(0).size(), 1u);
    manager.serve("an older text"); // The owner still runs: the person has picked one.
    EXPECT_EQ(await(known.text()), "an older text");
    EXPECT_TRUE(changesAfter(1).at(0).isManagers);

    ClipboardPeer& next = peer();
    next.serve("two");
    EXPECT_EQ(await(known.text()), "two");
    next.vanish();
    EXPECT_EQ(await(known.text()), "");
    clock.advance(3s);
    manager.serve("an older text");
    EXPECT_EQ(await(known.text()), "an older text");

    EXPECT_EQ(known.changeCount(), 4);
    EXPECT_TRUE(changesAfter(3).at(0).isManagers);
}

} // namespace
} // namespace zelvo::test
