#include "platform/linux/x11/capture/X11ScreenStreams.h"

#include "desktop/x11/CaptureDesktop.h"
#include "platform/linux/x11/overlays/X11OverlayWindows.h"

#include <gmock/gmock.h>

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <random>

namespace zelvo::test {
namespace {

constexpr std::uint32_t planted = 0xff00aa; // Nothing else on these desktops has more red than green in it.
constexpr Duration eighth = 125ms;

std::size_t tintedIn(Picture const& picture)
{
    std::size_t count = 0;
    for (std::size_t i = 0; i + 3 < picture.pixels.size(); i += 4)
        count += picture.pixels[i + 2] > picture.pixels[i + 1] + 24;
    return count;
}

/// What a test keeps of a picture.
struct Seen {
    Instant time;
    int width = 0;
    int height = 0;
    std::size_t tinted = 0;
    std::uint32_t color = 0; ///< at the place that is looked at
};

class Watching final : public ScreenStreamOutput {
public:
    void frameArrived(ScreenFrame const& frame) override
    {
        Picture const& picture = *frame.picture;
        Seen const one{.time = frame.time,
                       .width = picture.width,
                       .height = picture.height,
                       .tinted = tintedIn(picture),
                       .color = colorAt(picture, placeX, placeY)};
        std::scoped_lock guard(lock);
        all.push_back(one);
    }
    void streamStopped(ScreenFailure const&) override { ++stops; }

    std::vector<Seen> seen() const
    {
        std::scoped_lock guard(lock);
        return all;
    }

    std::atomic<int> placeX = 5;
    std::atomic<int> placeY = 5;
    std::atomic<int> stops = 0;

private:
    mutable std::mutex lock;
    std::vector<Seen> all; // lock
};

class X11ScreenStreamsTest : public testing::Test {
protected:
    explicit X11ScreenStreamsTest(DesktopOptions options = {.width = 1280,
                                                            .height = 720,
                                                            .sessionBus = false})
        : stage(std::move(options))
    {
        stage.desktopCorner = {1270, 710};
        Painter(stage.desktop.display()).paintRoot(0x336699);
        stage.settledScreen();
    }
    ~X11ScreenStreamsTest() override
    {
        if (stream)
            stage.live.run(stream->stop());
        stream.reset();
    }

    void open(std::set<std::string> excluded = {}, int width = 1280, int height = 720)
    {
        ScreenStreamRequest request{.picture = {.display = stage.layout->current().displayId,
                                                .width = width,
                                                .height = height,
                                                .excluded = std::move(excluded)},
                                    .minimumFrameInterval = eighth};
        stream = stage.live.run(streams.open(std::move(request), queue, output));
    }

    bool opens()
    {
        try {
            open();
            return true;
        } catch (ScreenFailure const&) {
            return false;
        }
    }

    std::size_t frames() const { return output->seen().size(); }
    bool waitForFrames(std::size_t count)
    {
        return waitFor([&] { return frames() >= count; });
    }
    /// Reads until no frame has come for a while.
    std::size_t framesAtRest()
    {
        std::size_t count = 0;
        do
            count = frames();
        while (waitFor([&] { return frames() > count; }, 500ms));
        return count;
    }
    std::filesystem::path program(std::string const& name) const
    {
        return stage.desktop.home() / "bin" / name;
    }

    CaptureDesktop stage;
    X11ScreenStreams streams{stage.live.contexts(), stage.clock, *stage.source};
    Executor queue = stage.live.contexts().agent; // One thread.
    std::shared_ptr<Watching> output = std::make_shared<Watching>();
    std::unique_ptr<ScreenStream> stream;
};

TEST_F(X11ScreenStreamsTest, givesOnePictureOfAScreenAtRest)
{
    open();

    EXPECT_TRUE(waitForFrames(1));
    EXPECT_FALSE(waitFor([&] { return frames() > 1; }, 2s));
    EXPECT_EQ(output->seen()[0].width, 1280);
    EXPECT_EQ(output->seen()[0].height, 720);
    EXPECT_EQ(output->seen()[0].color, 0x336699u);
}

TEST_F(X11ScreenStreamsTest, givesOnePictureOfAScreenAtRestWithSomethingHiddenToo)
{
    PainterProcess secret(stage.desktop, program("secret"));
    secret.open(
        {.x = 100, .y = 100, .width = 300, .height = 200, .color = planted, .overrideRedirect = true});
    open({"secret"});

    EXPECT_TRUE(waitForFrames(1));
    EXPECT_FALSE(waitFor([&] { return frames() > 1; }, 2s));
    EXPECT_EQ(output->seen()[0].tinted, 0u);
}

TEST_F(X11ScreenStreamsTest, isNotWokenByScreenshots)
{
    PainterProcess secret(stage.desktop, program("secret"));
    secret.open(
        {.x = 100, .y = 100, .width = 300, .height = 200, .color = planted, .overrideRedirect = true});
    open({"secret"});
    std::size_t const before = framesAtRest();

    for (int i = 0; i < 5; ++i)
        stage.take({"secret"});

    EXPECT_EQ(framesAtRest(), before);
}

TEST_F(X11ScreenStreamsTest, givesAtMostEightASecondOfWhatBlinks)
{
    PainterProcess painter(stage.desktop);
    auto const window = painter.open({.x = 0, .y = 0, .width = 300, .height = 200, .overrideRedirect = true});
    open();
    std::uint32_t color = 0;
    auto const isEnough = [&] {
        painter.paint(window, ++color % 2 ? 0x00ff00 : 0x00aa00);
        return frames() >= 16;
    };
    ASSERT_TRUE(waitFor(isEnough, 30s));

    auto const seen = output->seen();
    for (std::size_t i = 1; i < seen.size(); ++i)
        EXPECT_GE(seen[i].time - seen[i - 1].time, eighth);
}

TEST_F(X11ScreenStreamsTest, endsWithThePictureOfTheLastChange)
{
    PainterProcess painter(stage.desktop);
    auto const window = painter.open({.x = 0, .y = 0, .width = 300, .height = 200, .overrideRedirect = true});
    open();
    for (std::uint32_t color = 0x000100; color <= 0x00f000; color += 0x000100)
        painter.paint(window, color);

    framesAtRest();
    EXPECT_EQ(output->seen().back().color, 0x00f000u);
}

TEST_F(X11ScreenStreamsTest, seesWindowsComeAndGoAndThePointerMove)
{
    PainterProcess painter(stage.desktop);
    open();
    std::size_t count = framesAtRest();
    auto const window = painter.open({.x = 300, .y = 300, .overrideRedirect = true, .className = "Any"});
    EXPECT_TRUE(waitForFrames(count + 1));
    count = framesAtRest();
    painter.move(window, 400, 300);
    EXPECT_TRUE(waitForFrames(count + 1));
    count = framesAtRest();
    Painter(stage.desktop.display()).movePointer(700, 200);
    EXPECT_TRUE(waitForFrames(count + 1));
    count = framesAtRest();
    painter.close(window);
    EXPECT_TRUE(waitForFrames(count + 1));
}

/// The agent's cursor, as the program draws it: a window that appears, moves, fades and goes.
class OwnOverlay {
public:
    OwnOverlay(CaptureDesktop& stage, X11OverlayWindows& windows) : stage(stage), windows(windows) {}

    void show(DesktopPoint place, std::uint32_t color)
    {
        onMain([&] {
            if (!window)
                window = windows.open(OverlayWindows::Layer::pointer);
            window->show(place, {.width = 120, .height = 40, .pixels = std::vector(120 * 40, color)});
        });
    }
    void move(DesktopPoint place)
    {
        onMain([&] { window->move(place); });
    }
    void close()
    {
        onMain([this] { window.reset(); });
    }

private:
    void onMain(std::function<void()> work)
    {
        runBlocking(stage.live.contexts().main, [](std::function<void()> what) -> Task<> {
            what();
            co_return;
        }(std::move(work)));
    }

    CaptureDesktop& stage;
    X11OverlayWindows& windows;
    std::unique_ptr<OverlayWindow> window;
};

class OwnOverlayTest : public X11ScreenStreamsTest, public testing::WithParamInterface<bool> {};

INSTANTIATE_TEST_SUITE_P(WithAndWithoutCompositor, OwnOverlayTest, testing::Bool());

TEST_P(OwnOverlayTest, isNoChangeOfTheScreen)
{
    PainterProcess painter(stage.desktop);
    auto const window = painter.open({.x = 200, .y = 100, .width = 600, .height = 400, .title = "below"});
    if (GetParam() && !stage.desktop.startCompositor())
        GTEST_SKIP() << "picom is not installed";
    stage.settledScreen();
    open({"dev.zelvo.agent"});
    std::size_t const before = framesAtRest();
    X11OverlayWindows windows(stage.live.contexts(), stage.clock, *stage.layout);
    OwnOverlay overlay(stage, windows);

    overlay.show({100, 300}, 0xff3350c9);
    ASSERT_TRUE(waitFor([&] { return colorAt(stage.onTheScreen(), 110, 310) == 0x3350c9; }));
    auto const begin = std::chrono::steady_clock::now();
    for (int x = 100; x < 900; x += 10) {
        overlay.move({double(x), 300});
        waitFor([] { return false; }, 16ms);
    }
    for (std::uint32_t alpha = 0xff; alpha > 0; alpha -= 0x11)
        overlay.show({500, 300}, alpha << 24);
    // Where it moved, something may have been drawn below it: in half of the time's eight frames a second at
    // most.
    std::chrono::duration<double> const elapsed = std::chrono::steady_clock::now() - begin;
    EXPECT_LE(framesAtRest(),
              before + std::max<std::size_t>(4, static_cast<std::size_t>(4 * elapsed.count())));
    std::size_t const still = framesAtRest();
    for (int i = 0; i < 10; ++i)
        overlay.show({500, 300}, 0xff000000 + 0x111111u * i);
    EXPECT_LE(framesAtRest(), still + 1);

    // What others draw is a change, also if an overlay covers all of it.
    std::size_t const covered = framesAtRest();
    auto const small =
        painter.open({.x = 520, .y = 310, .width = 20, .height = 20, .overrideRedirect = true});
    EXPECT_TRUE(waitForFrames(covered + 1));
    std::size_t const opened = framesAtRest();
    painter.paint(small, 0x0000aa);
    EXPECT_TRUE(waitForFrames(opened + 1));
    std::size_t const painted = framesAtRest();
    painter.paint(window, 0x00aa00);
    EXPECT_TRUE(waitForFrames(painted + 1));
    std::size_t const drawn = framesAtRest();
    overlay.close();
    // A compositing manager fades it out.
    EXPECT_LE(framesAtRest(), drawn + (GetParam() ? 8 : 1));
    for (Seen const& one : output->seen())
        EXPECT_NE(one.color, 0x3350c9u);
}

TEST_F(X11ScreenStreamsTest, seesANewBackgroundOfTheScreen)
{
    open();
    std::size_t const before = framesAtRest();

    Painter(stage.desktop.display()).paintRoot(0x993366);

    EXPECT_TRUE(waitForFrames(before + 1));
    framesAtRest();
    EXPECT_EQ(output->seen().back().color, 0x993366u);
}

TEST_F(X11ScreenStreamsTest, seesWhatIsDrawnUnderAHiddenWindow)
{
    PainterProcess painter(stage.desktop);
    PainterProcess secret(stage.desktop, program("secret"));
    auto const window = painter.open(
        {.x = 0, .y = 0, .width = 200, .height = 200, .color = 0x00ff00, .overrideRedirect = true});
    secret.open({.x = 0, .y = 0, .width = 400, .height = 400, .color = planted, .overrideRedirect = true});
    open({"secret"});
    framesAtRest();
    EXPECT_EQ(output->seen().back().color, 0x00ff00u);

    painter.paint(window, 0x0000ff);

    EXPECT_TRUE(waitFor([&] { return output->seen().back().color == 0x0000ff; }));
    for (Seen const& one : output->seen())
        EXPECT_EQ(one.tinted, 0u);
}

TEST_F(X11ScreenStreamsTest, neverShowsAHiddenApplicationWhateverItDoes)
{
    PainterProcess painter(stage.desktop);
    PainterProcess secret(stage.desktop, program("secret"));
    auto const cover =
        painter.open({.x = 200, .y = 200, .width = 300, .height = 300, .color = 0x00aa55, .title = "cover"});
    open({"secret"});
    std::mt19937 random(4711);
    auto const number = [&](int from, int to) { return std::uniform_int_distribution(from, to)(random); };
    std::uint32_t window = 0;
    std::size_t lastCount = 0;
    for (int step = 0; frames() < 60 && step < 3000; ++step) {
        if (!window)
            window = secret.open({.x = number(0, 900),
                                  .y = number(0, 500),
                                  .width = 300,
                                  .height = 200,
                                  .color = planted,
                                  .overrideRedirect = number(0, 1) == 1});
        switch (number(0, 5)) {
        case 0:
            secret.raise(window);
            break;
        case 1:
            painter.raise(cover);
            break;
        case 2:
            secret.close(std::exchange(window, 0));
            break;
        case 3:
            painter.move(cover, number(0, 900), number(0, 400));
            break;
        default:
            secret.move(window, number(0, 1100), number(0, 600));
        }
        // Slow enough that not every picture meets windows that were just mapped.
        waitFor([&] { return frames() > lastCount; }, 60ms);
        lastCount = frames();
    }

    EXPECT_GE(frames(), 20u);
    for (Seen const& one : output->seen())
        EXPECT_EQ(one.tinted, 0u);
    EXPECT_EQ(output->stops, 0);
}

TEST_F(X11ScreenStreamsTest, leavesOutWhatIsHiddenInTheMiddle)
{
    PainterProcess secret(stage.desktop, program("secret"));
    secret.open(
        {.x = 100, .y = 100, .width = 300, .height = 200, .color = planted, .overrideRedirect = true});
    open();
    std::size_t const before = framesAtRest();
    EXPECT_EQ(output->seen().back().tinted, 60'000u);

    stage.live.run(stream->updateFilter({}, {"secret"}));

    EXPECT_TRUE(waitForFrames(before + 1));
    framesAtRest();
    auto const seen = output->seen();
    for (std::size_t i = before; i < seen.size(); ++i)
        EXPECT_EQ(seen[i].tinted, 0u);

    stage.live.run(stream->updateFilter({}, {}));
    EXPECT_TRUE(waitFor([&] { return output->seen().back().tinted == 60'000u; }));
}

TEST_F(X11ScreenStreamsTest, readsNothingWhileNoFramesAreWanted)
{
    PainterProcess painter(stage.desktop);
    auto const window = painter.open({.x = 0, .y = 0, .width = 300, .height = 200, .overrideRedirect = true});
    open();
    framesAtRest();
    stream->setWanted(false);
    std::size_t const before = framesAtRest();
    painter.paint(window, 0x0000ff);
    EXPECT_EQ(framesAtRest(), before);

    stream->setWanted(true);

    EXPECT_TRUE(waitForFrames(before + 1));
    EXPECT_EQ(output->seen().back().color, 0x0000ffu);
}

TEST_F(X11ScreenStreamsTest, bringsAPictureAtOnceWhenFramesAreWantedAgain)
{
    open();
    std::size_t const before = framesAtRest();
    stream->setWanted(false);
    framesAtRest();
    stream->setWanted(true);

    EXPECT_TRUE(waitForFrames(before + 1));
    EXPECT_EQ(framesAtRest(), before + 1);
}

TEST_F(X11ScreenStreamsTest, keepsItsSizeWhenTheScreenChangesItsOwn)
{
    open();
    std::size_t const before = framesAtRest();
    stage.desktop.run({"sh", "-c",
                       "xrandr --newmode small 40 800 820 840 860 600 610 620 630 && "
                       "xrandr --addmode screen small && xrandr --output screen --mode small"});
    EXPECT_TRUE(waitFor([&] { return stage.layout->current().widthPixels == 800; }));

    EXPECT_TRUE(waitForFrames(before + 1));
    framesAtRest();
    PainterProcess painter(stage.desktop);
    // The right half of the small screen, whose middle has the 960th column of a recording of 1280x720.
    output->placeX = 960;
    output->placeY = 360;
    painter.open(
        {.x = 400, .y = 0, .width = 400, .height = 600, .color = 0x00ff00, .overrideRedirect = true});
    // Enlarging rounds.
    EXPECT_TRUE(waitFor([&] { return (output->seen().back().color & 0xfff0ff) == 0x00f000; }))
        << std::hex << output->seen().back().color;
    for (Seen const& one : output->seen())
        EXPECT_EQ(std::pair(one.width, one.height), std::pair(1280, 720));
    EXPECT_EQ(output->stops, 0);
}

TEST_F(X11ScreenStreamsTest, endsWhenItsDisplayIsSwitchedOff)
{
    open();
    framesAtRest();
    // xrandr can't make the screen itself that small, and fails after it has switched off the display.
    stage.desktop.run({"sh", "-c", "xrandr --output screen --off || true"});

    EXPECT_TRUE(waitFor([&] { return output->stops == 1; }));
}

TEST_F(X11ScreenStreamsTest, endsWithTheServer)
{
    open();
    EXPECT_TRUE(waitForFrames(1));
    stage.desktop.processes().endAll();

    EXPECT_TRUE(waitFor([&] { return output->stops == 1; }));
    // Another server may now have this display number, and must not be recorded instead.
    EXPECT_TRUE(waitFor([&] { return !opens(); }));
}

TEST_F(X11ScreenStreamsTest, deliversNothingOnceItIsStopped)
{
    PainterProcess painter(stage.desktop);
    auto const window = painter.open({.x = 0, .y = 0, .width = 300, .height = 200, .overrideRedirect = true});
    open();
    EXPECT_TRUE(waitForFrames(1));
    for (std::uint32_t color = 0; color < 50; ++color)
        painter.paint(window, color);
    stage.live.run(stream->stop());
    std::size_t const count = frames();

    painter.paint(window, 0x00ff00);

    EXPECT_EQ(framesAtRest(), count);
}

TEST_F(X11ScreenStreamsTest, refusesADisplayThatIsNotThere)
{
    ScreenStreamRequest request{.picture = {.display = 4242, .width = 640, .height = 360},
                                .minimumFrameInterval = eighth};
    EXPECT_THROW(stage.live.run(streams.open(request, queue, output)), ScreenFailure);
    request.picture = {.display = stage.layout->current().displayId, .width = 0, .height = 0};
    EXPECT_THROW(stage.live.run(streams.open(request, queue, output)), ScreenFailure);
}

} // namespace
} // namespace zelvo::test
