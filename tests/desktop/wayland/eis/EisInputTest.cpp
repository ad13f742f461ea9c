#include "desktop/wayland/eis/ScriptedEis.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"
#include "platform/linux/wayland/portal/EisOpening.h"
#include "platform/linux/wayland/portal/PortalInput.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <linux/input-event-codes.h>
#include <sys/socket.h>

#include <array>
#include <optional>

namespace zelvo::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Input on a scripted EIS. Time passes only where a test says so.
class EisInputTest : public ::testing::Test {
protected:
    EisInputTest() { layout = {{monitor(1, {0, 0, 1280, 800}), monitor(2, {1280, 0, 1024, 768})}}; }

    static Monitor monitor(std::uint32_t id, LogicalRect area)
    {
        return {.id = id,
                .area = area,
                .widthPixels = static_cast<int>(area.width),
                .heightPixels = static_cast<int>(area.height)};
    }

    void open(UniqueFd socket)
    {
        input = openEis({.agent = io.get_executor(),
                         .clock = clock,
                         .socket = std::move(socket),
                         .streams = {{.node = 7, .position = {{1280, 0}}, .mapping = "right"}},
                         .layout = [this] { return layout; },
                         .barrier = [this]() -> Task<> {
                             ++barriers;
                             co_return;
                         }});
    }

    /// Connects, with a keyboard and a pointer for both monitors.
    void openWithDevices()
    {
        open(server.connect());
        runUntil(io, [this] { return server.isBound; });
        server.addKeyboard("keyboard");
        server.addPointer("pointer",
                          {{.area = {0, 0, 1280, 800}}, {.area = {2000, 100, 512, 384}, .mapping = "right"}});
    }

    /// Runs an operation while its pauses pass.
    template <class T>
    T passing(Task<T> task)
    {
        return runWith(io.get_executor(), std::move(task), [this](auto const& hasEnded) {
            runUntil(io, [&] {
                if (!hasEnded() && clock.sleeperCount() > 0 && io.poll() == 0)
                    clock.advance(PortalInput::warmUp);
                return hasEnded();
            });
        });
    }

    bool key(int code, bool isDown) { return passing(input->key(code, isDown)); }
    bool button(int code, bool isDown) { return passing(input->button(code, isDown)); }
    bool move(double x, double y) { return passing(input->moveTo({x, y})); }

    /// Everything that the server noted since the last call, after it handled all events.
    std::vector<std::string> news()
    {
        passing(input->drained());
        return std::exchange(server.log, {});
    }

    /// Makes devices known, and forgets what that took.
    void warmUp()
    {
        EXPECT_TRUE(key(KEY_A, true));
        EXPECT_TRUE(key(KEY_A, false));
        EXPECT_TRUE(move(1, 1));
        news();
    }

    asio::io_context io;
    ManualClock clock{&io};
    ScriptedEis server{io};
    MonitorLayout layout;
    int barriers = 0;
    std::shared_ptr<InputSink> input;
};

TEST_F(EisInputTest, waitsUntilApplicationsKnowTheDevice)
{
    openWithDevices();
    EXPECT_TRUE(input->isReady());

    std::optional<bool> isDone;
    spawn(io.get_executor(), [&]() -> Task<> { isDone = co_await input->key(KEY_A, true); });
    runUntil(io, [&] { return server.log.size() == 3; });
    EXPECT_FALSE(isDone);
    EXPECT_THAT(server.log, ElementsAre("keyboard: start", "keyboard: down 240", "keyboard: up 240"));
    clock.advance(PortalInput::warmUp);
    runUntil(io, [&] { return isDone.has_value(); });
    EXPECT_TRUE(*isDone);
    EXPECT_TRUE(key(KEY_A, false));
    EXPECT_TRUE(key(KEY_B, true));
    EXPECT_THAT(news(), ElementsAre("keyboard: start", "keyboard: down 240", "keyboard: up 240",
                                    "keyboard: down 30", "keyboard: up 30", "keyboard: down 48"));

    EXPECT_TRUE(move(10, 20));
    EXPECT_THAT(news(), ElementsAre("pointer: start", "pointer: move 640 400", "pointer: move 640 400",
                                    "pointer: move 10 20", "pointer: move 10 20"));
}

TEST_F(EisInputTest, sendsEachEventInAFrameWithItsTime)
{
    openWithDevices();
    warmUp();

    EXPECT_TRUE(move(300.5, 200));
    EXPECT_TRUE(button(BTN_LEFT, true));
    EXPECT_TRUE(button(BTN_LEFT, false));
    EXPECT_TRUE(passing(input->scroll(3, -1)));
    EXPECT_TRUE(key(KEY_LEFTSHIFT, true));
    EXPECT_TRUE(key(KEY_LEFTSHIFT, false));
    EXPECT_FALSE(passing(input->type("text")));

    EXPECT_THAT(news(), ElementsAre("pointer: move 300.5 200", "pointer: press 272", "pointer: let go 272",
                                    "pointer: scroll 0 360", "pointer: scroll -120 0", "keyboard: down 42",
                                    "keyboard: up 42"));
    EXPECT_EQ(server.events, server.frames);
}

TEST_F(EisInputTest, pointsByRegionsAndNowhereElse)
{
    openWithDevices();
    warmUp();

    EXPECT_TRUE(move(1280 + 100, 50));

    EXPECT_THAT(news(),
                ElementsAre("pointer: move 2256 292", "pointer: move 2256 292", "pointer: move 2050 125"))
        << "by the middle of the other monitor, twice";
    EXPECT_FALSE(move(1300, 790));
    EXPECT_FALSE(move(-1, 0));
    EXPECT_THAT(news(), IsEmpty());
}

TEST_F(EisInputTest, sendsNothingToAPausedDevice)
{
    openWithDevices();
    server.pause("keyboard"); // The library of the server ignores it while events come.
    server.pause("pointer");
    EXPECT_FALSE(key(KEY_B, true));
    EXPECT_FALSE(move(5, 5));
    EXPECT_FALSE(button(BTN_LEFT, true));
    EXPECT_TRUE(key(KEY_B, false)) << "nothing is held";
    EXPECT_TRUE(input->isReady());
    EXPECT_THAT(news(), IsEmpty());

    server.resume("keyboard");
    EXPECT_TRUE(key(KEY_B, true));
    EXPECT_THAT(news(), ElementsAre("keyboard: start", "keyboard: down 240", "keyboard: up 240",
                                    "keyboard: down 48"));
}

TEST_F(EisInputTest, waitsAShortTimeForADevice)
{
    open(server.connect());
    runUntil(io, [this] { return server.isBound; });
    EXPECT_TRUE(input->isReady());
    Instant const begin = clock.now();
    EXPECT_FALSE(key(KEY_A, true));
    EXPECT_GE(clock.now() - begin, 500ms);

    std::optional<bool> isDone;
    spawn(io.get_executor(), [&]() -> Task<> { isDone = co_await input->moveTo({1, 2}); });
    settle(io);
    server.addPointer("pointer", {{.area = {0, 0, 1280, 800}}});
    runUntil(io, [this] { return !server.log.empty(); });
    EXPECT_FALSE(isDone);
    clock.advance(PortalInput::warmUp);
    runUntil(io, [&] { return isDone.has_value(); });
    EXPECT_TRUE(*isDone);
}

TEST_F(EisInputTest, takesUpANewDeviceWithNewRegions)
{
    openWithDevices();
    warmUp();
    EXPECT_TRUE(button(BTN_LEFT, true));
    news();

    server.remove("pointer");
    layout = {{monitor(3, {0, 0, 1920, 1080})}};
    server.addPointer("next", {{.area = {0, 0, 1920, 1080}}});
    settle(io);
    EXPECT_TRUE(button(BTN_LEFT, false)) << "the compositor released it with the device";

    EXPECT_TRUE(move(1900, 1000));
    EXPECT_TRUE(button(BTN_RIGHT, true));
    EXPECT_THAT(news(), ElementsAre("next: start", "next: move 1900 1000", "next: move 1900 1000",
                                    "next: press 273"));
}

TEST_F(EisInputTest, letsGoOnTheDeviceThatHolds)
{
    open(server.connect());
    runUntil(io, [this] { return server.isBound; });
    server.addPointer("left", {{.area = {0, 0, 1280, 800}}});
    server.addPointer("right", {{.area = {1280, 0, 1024, 768}, .mapping = "right"}});
    EXPECT_TRUE(move(1290, 10));
    EXPECT_TRUE(move(10, 10));
    EXPECT_TRUE(button(BTN_LEFT, true));
    EXPECT_TRUE(move(1290, 10));
    news();

    EXPECT_TRUE(passing(input->scroll(1, 0)));
    EXPECT_TRUE(button(BTN_LEFT, false));
    EXPECT_THAT(news(), ElementsAre("right: scroll 0 120", "left: let go 272"));
}

TEST_F(EisInputTest, releasesWhatItHoldsAtItsEnd)
{
    openWithDevices();
    warmUp();
    EXPECT_TRUE(key(KEY_LEFTSHIFT, true));
    EXPECT_TRUE(key(KEY_LEFTCTRL, true));
    EXPECT_TRUE(button(BTN_LEFT, true));
    news();

    input.reset();

    runUntil(io, [this] { return !server.isConnected; });
    EXPECT_THAT(server.log, ElementsAre("keyboard: up 29", "keyboard: up 42", "keyboard: stop",
                                        "pointer: let go 272", "pointer: stop"));
    EXPECT_EQ(server.events, server.frames);
}

TEST_F(EisInputTest, isDrainedWhenTheCompositorHasHandledAll)
{
    openWithDevices();
    warmUp();
    server.setReading(false);

    bool isDrained = false;
    EXPECT_TRUE(key(KEY_B, true));
    spawn(io.get_executor(), [&]() -> Task<> {
        co_await input->drained();
        isDrained = true;
    });
    for (int count = 0; count < 10; ++count)
        settle(io);
    EXPECT_FALSE(isDrained);
    server.setReading(true);
    runUntil(io, [&] { return isDrained; });
    EXPECT_THAT(server.log, ElementsAre("keyboard: down 48"));
    EXPECT_EQ(barriers, 0);

    server.setReading(false);
    passing(input->drained());
    EXPECT_EQ(barriers, 1) << "asks the portals if EIS does not answer";
}

TEST_F(EisInputTest, endsWithTheConnection)
{
    openWithDevices();
    warmUp();
    EXPECT_TRUE(key(KEY_LEFTCTRL, true));

    server.disconnect();
    runUntil(io, [this] { return !input->isReady(); });

    EXPECT_FALSE(key(KEY_B, true));
    EXPECT_FALSE(key(KEY_LEFTCTRL, false));
    EXPECT_FALSE(move(1, 1));
    EXPECT_FALSE(passing(input->scroll(1, 1)));
    passing(input->drained());
    EXPECT_EQ(barriers, 0);
    input.reset();
    settle(io);
}

/// A server that a test plays byte by byte.
class BrokenEisTest : public EisInputTest {
protected:
    BrokenEisTest()
    {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
            return;
        other.reset(ends[0]);
        open(UniqueFd(ends[1]));
    }

    void say(std::vector<std::uint32_t> const& words)
    {
        std::size_t const length = words.size() * sizeof words[0];
        EXPECT_EQ(::send(other.get(), words.data(), length, MSG_NOSIGNAL), static_cast<ssize_t>(length));
    }

    void expectEnd()
    {
        runUntil(io, [this] { return !input->isReady(); });
        EXPECT_FALSE(key(KEY_A, true));
        EXPECT_FALSE(move(1, 1));
        passing(input->drained());
        input.reset();
        settle(io);
    }

    UniqueFd other;
    std::vector<std::uint32_t> const version = {0, 0, 20, 0, 1};
};

TEST_F(BrokenEisTest, isNotReadyAfterNonsense)
{
    say(std::vector<std::uint32_t>(1024, 0xFFFFFFFF));
    expectEnd();
}

TEST_F(BrokenEisTest, isNotReadyAfterAMessageThatDoesNotExist)
{
    say({0, 0, 16, 77});
    expectEnd();
}

TEST_F(BrokenEisTest, isNotReadyWhenTheServerHangsUpInTheGreeting)
{
    say(version);
    for (int count = 0; count < 10; ++count)
        settle(io);
    EXPECT_TRUE(input->isReady());
    other.reset();
    expectEnd();
}

TEST_F(BrokenEisTest, isNotReadyWhenTheServerHangsUpAtOnce)
{
    say(version);
    other.reset();
    expectEnd();
}

TEST_F(BrokenEisTest, mayEndBeforeTheServerSpeaks)
{
    EXPECT_FALSE(key(KEY_A, true));
    passing(input->drained());
    EXPECT_TRUE(input->isReady());
    input.reset();
    settle(io);
    std::array<char, 4096> rest{};
    while (::recv(other.get(), rest.data(), rest.size(), MSG_DONTWAIT) > 0)
        continue;
    EXPECT_EQ(::recv(other.get(), rest.data(), rest.size(), MSG_DONTWAIT), 0) << "the server sees the end";
}

TEST_F(BrokenEisTest, needsASocket)
{
    open(UniqueFd());
    EXPECT_FALSE(input);
}

TEST_F(EisInputTest, losesNothingInALongText)
{
    openWithDevices();
    warmUp();
    auto const begin = std::chrono::steady_clock::now();
    for (int count = 0; count < 300; ++count) {
        EXPECT_TRUE(key(KEY_1 + count % 9, true));
        EXPECT_TRUE(key(KEY_1 + count % 9, false));
    }
    auto const posted = std::chrono::steady_clock::now();

    auto const got = news();

    ASSERT_EQ(got.size(), 600U);
    for (int count = 0; count < 300; ++count)
        EXPECT_EQ(got[static_cast<std::size_t>(2 * count)],
                  "keyboard: down " + std::to_string(KEY_1 + count % 9));
    std::printf("%.1f us an event\n",
                std::chrono::duration<double, std::micro>(posted - begin).count() / 600);
}

TEST_F(EisInputTest, neverWaitsForACompositorThatDoesNotRead)
{
    openWithDevices();
    warmUp();
    server.setReading(false);
    auto const begin = std::chrono::steady_clock::now();

    int made = 0;
    while (made < 20000 && key(made % 2 ? KEY_A : KEY_B, true))
        ++made;

    EXPECT_LT(std::chrono::steady_clock::now() - begin, 15s);
    std::printf("%d events before the connection ended\n", made);
    server.setReading(true);
    if (input->isReady())
        EXPECT_EQ(news().size(), static_cast<std::size_t>(made));
}

} // namespace
} // namespace zelvo::test
