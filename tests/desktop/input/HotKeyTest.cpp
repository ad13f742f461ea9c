#include "desktop/harness/XQuestions.h"
#include "desktop/input/InputFixture.h"
#include "platform/linux/x11/input/X11HotKey.h"

#include <gtest/gtest.h>

#include <atomic>

namespace zelvo::test {
namespace {

constexpr std::uint8_t control = 37;
constexpr std::uint8_t alt = 64;
constexpr std::uint8_t super = 133;
constexpr std::uint8_t positionOfP = 33;
constexpr std::uint8_t capsLock = 0x02;
constexpr std::uint8_t numLock = 0x10;

class HotKeys : public testing::Test {
protected:
    void start()
    {
        key.emplace(fixture.contexts);
        key->start([this] { ++calls; });
        // The grab is made in the background.
        require("the hot key", [this] { return pressOnce() > 0; });
    }

    void chord(bool down, std::uint8_t keycode = positionOfP)
    {
        for (std::uint8_t const code : {control, alt, super, keycode})
            fixture.personKey(code, down);
    }

    /// Presses the chord once and returns the number of calls.
    int pressOnce(std::uint8_t keycode = positionOfP)
    {
        int const before = calls;
        chord(true, keycode);
        chord(false, keycode);
        waitFor([&] { return calls > before; }, 200ms);
        return calls - before;
    }

    ~HotKeys() override { fixture.live.stop(); }

    InputFixture fixture;
    std::atomic<int> calls = 0;
    std::optional<X11HotKey> key;
};

TEST_F(HotKeys, callOnceForEachPress)
{
    start();

    EXPECT_EQ(pressOnce(), 1);
    EXPECT_EQ(pressOnce(), 1);
    int const before = calls;
    chord(true);
    std::this_thread::sleep_for(1200ms); // Keys repeat after 0.66 s.
    chord(false);
    EXPECT_EQ(calls, before + 1);
    EXPECT_EQ(pressOnce(), 1);
}

TEST_F(HotKeys, workInEveryStateOfTheLockKeysAndGroups)
{
    start();
    for (std::uint8_t const locks : {0, int{capsLock}, int{numLock}, capsLock | numLock}) {
        fixture.lockModifiers(capsLock | numLock, false);
        fixture.lockModifiers(locks, true);
        EXPECT_EQ(pressOnce(), 1) << int{locks};
    }
    fixture.useLayout("us,ru", 1);
    EXPECT_TRUE(waitFor([this] { return pressOnce() == 1; }));
    EXPECT_EQ(pressOnce(), 1);
}

TEST_F(HotKeys, followTheLetterToAnotherLayout)
{
    start();

    fixture.desktop.run({"setxkbmap", "us", "-variant", "dvorak"});

    EXPECT_TRUE(waitFor([this] { return pressOnce(27) == 1; }));
    EXPECT_EQ(pressOnce(positionOfP), 0);
    fixture.desktop.run({"setxkbmap", "ru"});
    EXPECT_TRUE(waitFor([this] { return pressOnce(positionOfP) == 1; }));
}

TEST_F(HotKeys, workWhileTextIsBeingTyped)
{
    fixture.desktop.run({"setxkbmap", "ru"});
    start();

    fixture.await(fixture.posting->beginText("ppp 漢字 text"));
    fixture.await(fixture.posting->post(TextEvent{KeyEvent::Kind::down, "ppp 漢字"}));
    EXPECT_EQ(pressOnce(), 1);
    fixture.await(fixture.posting->post(TextEvent{KeyEvent::Kind::down, " text"}));
    fixture.await(fixture.posting->endText());
    EXPECT_EQ(pressOnce(), 1);
}

TEST_F(HotKeys, areNotPressedByTypingAndChords)
{
    start();
    calls = 0;

    fixture.typeText("pPpP ПпPp");
    fixture.chord(35, {.cmd = true, .shift = true, .alt = true, .ctrl = true, .fn = true});

    std::this_thread::sleep_for(300ms); // A call would have come by now.
    EXPECT_EQ(calls, 0);
}

TEST_F(HotKeys, doNothingWhereSomebodyElseHoldsTheKey)
{
    XConnection const other = connectTo(fixture.desktop.display());
    xcb_grab_key(other.get(), 0, screenOf(other.get())->root, XCB_MOD_MASK_ANY, positionOfP,
                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    syncWith(other.get());
    key.emplace(fixture.contexts);
    key->start([this] { ++calls; });

    EXPECT_FALSE(waitFor([this] { return pressOnce() > 0; }, 2s));
}

TEST_F(HotKeys, endInPeaceWithTheirOwner)
{
    start();
    key.reset();

    EXPECT_TRUE(waitFor([this] { return pressOnce() == 0; }));
}

} // namespace
} // namespace zelvo::test
