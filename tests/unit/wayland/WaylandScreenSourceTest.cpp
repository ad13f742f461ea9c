#include "unit/wayland/CaptureFixture.h"

namespace zelvo {
namespace {

using Strings = std::vector<std::string>;

class WaylandScreenSourceTest : public CaptureFixture {
protected:
    /// Whether there is no picture because of an excluded application.
    bool isRefused(std::set<std::string> hidden)
    {
        try {
            capture(std::move(hidden));
        } catch (ScreenFailure const& failure) {
            return failure.mayShowExcluded;
        }
        return false;
    }
    std::uint32_t pixel(Picture const& picture, int x, int y)
    {
        std::uint32_t value = 0;
        std::memcpy(&value, picture.pixels.data() + y * picture.stride + x * 4, sizeof value);
        return value;
    }
};

TEST_F(WaylandScreenSourceTest, takesEverythingWhileNothingHiddenIsConnected)
{
    clients.connected = {11};
    names[11].names = {"org.example.editor"};

    capture({"org.example.vault"});

    EXPECT_EQ(frames.taken, (Strings{"everything"}));
}

TEST_F(WaylandScreenSourceTest, leavesTheWindowsOfAHiddenApplicationOut)
{
    clients.connected = {11, 12};
    names[11].names = {"org.example.editor"};
    names[12].names = {"org.example.vault"};
    frames.inPicture.windows = {window("editor", 11), window("vault", 12)};

    capture({"org.example.vault"});

    EXPECT_EQ(frames.taken, (Strings{"without"}));
    EXPECT_EQ(frames.lastLeftOut, (std::set<std::string>{"vault"}));
}

TEST_F(WaylandScreenSourceTest, leavesOutWhatNamesAHiddenApplication)
{
    clients.connected = {11};
    names[11].names = {"org.example.editor"};
    names[12].names = {"org.example.vault"};
    windows.now.chrome = {window("title", 11), window("banner", 12)};
    frames.inPicture = windows.now;

    capture({"org.example.vault"});

    EXPECT_EQ(frames.taken, (Strings{"without"}));
    EXPECT_EQ(frames.lastLeftOut, (std::set<std::string>{"banner"}));
}

TEST_F(WaylandScreenSourceTest, leavesOutWhatNamesNobodyThatIsKnown)
{
    windows.now.chrome = {{.id = "closing"}};
    frames.inPicture = windows.now;

    capture();
    capture({"org.example.vault"});

    EXPECT_EQ(frames.taken, (Strings{"everything", "without"}));
    EXPECT_EQ(frames.lastLeftOut, (std::set<std::string>{"closing"}));
}

TEST_F(WaylandScreenSourceTest, refusesWhileAHiddenApplicationIsConnectedAndCannotBeLeftOut)
{
    frames.leavesOut = false;
    clients.connected = {12};
    names[12].names = {"org.example.vault"};

    EXPECT_TRUE(isRefused({"org.example.vault"}));
    EXPECT_TRUE(frames.taken.empty());

    clients.connected = {11};
    EXPECT_FALSE(isRefused({"org.example.vault"}));
}

TEST_F(WaylandScreenSourceTest, givesNoPictureInWhichAHiddenApplicationMayHaveAppeared)
{
    frames.leavesOut = false;
    names[12].names = {"org.example.vault"};
    frames.onTake = [this] { clients.connected = {12}; };

    EXPECT_TRUE(isRefused({"org.example.vault"}));
}

TEST_F(WaylandScreenSourceTest, takesAnotherPictureIfAHiddenApplicationAppearsMeanwhile)
{
    names[12].names = {"org.example.vault"};
    frames.onTake = [this] { clients.connected = {12}; };

    capture({"org.example.vault"});

    EXPECT_EQ(frames.taken, (Strings{"everything", "without"}));
}

TEST_F(WaylandScreenSourceTest, refusesIfTheClientsCannotBeRead)
{
    frames.leavesOut = false;
    clients.connected.reset();

    EXPECT_TRUE(isRefused({"org.example.vault"}));
    EXPECT_FALSE(isRefused({})); // Nothing is hidden, so it does not matter who is there.
}

TEST_F(WaylandScreenSourceTest, believesAWindowThatSaysMoreThanItsProcess)
{
    frames.leavesOut = false;
    clients.connected = {13};
    windows.add(window("vault", 14));
    names[14].names = {"org.example.vault"};

    EXPECT_TRUE(isRefused({"org.example.vault"}));
}

TEST_F(WaylandScreenSourceTest, refusesIfTheWindowsCannotBeRead)
{
    frames.leavesOut = false;
    windows.answers = false;

    EXPECT_TRUE(isRefused({"org.example.vault"}));
}

TEST_F(WaylandScreenSourceTest, countsThisProgramAsNobodyHidden)
{
    frames.leavesOut = false;
    clients.connected = {static_cast<std::int32_t>(::getpid())};

    EXPECT_FALSE(isRefused({}));
}

TEST_F(WaylandScreenSourceTest, leavesOurOwnWindowsOut)
{
    windows.add(window("ours", ::getpid()));
    frames.inPicture = windows.now;

    capture();

    EXPECT_EQ(frames.taken, (Strings{"without"}));
    EXPECT_EQ(frames.lastLeftOut, (std::set<std::string>{"ours"}));
}

TEST_F(WaylandScreenSourceTest, coversOurOwnWindowsWhereNothingCanBeLeftOut)
{
    frames.leavesOut = false;
    windows.add(window("ours", ::getpid()));

    Picture const picture = capture();

    EXPECT_EQ(pixel(picture, 15, 15), 0x808080U);
    EXPECT_EQ(pixel(picture, 5, 5), frames.colour);
}

TEST_F(WaylandScreenSourceTest, coversAWindowOfOursThatOpensDuringThePicture)
{
    frames.leavesOut = false;
    frames.onTake = [this] { windows.add(window("ours", ::getpid())); };

    EXPECT_EQ(pixel(capture(), 15, 15), 0x808080U);
}

TEST_F(WaylandScreenSourceTest, failsIfItCannotSeeWhereOurWindowsAre)
{
    frames.leavesOut = false;
    windows.answers = false;

    EXPECT_THROW(capture(), ScreenFailure);
}

TEST_F(WaylandScreenSourceTest, composesIfItCannotSeeWhereOurWindowsAre)
{
    windows.answers = false;

    capture();

    EXPECT_EQ(frames.taken, (Strings{"without"}));
}

TEST_F(WaylandScreenSourceTest, cutsAndScales)
{
    Picture const part = capture({}, DisplayPart{10, 20, 30, 8});
    EXPECT_EQ(part.width, 30);
    EXPECT_EQ(part.height, 8);

    EXPECT_THROW(capture({}, DisplayPart{60, 0, 10, 10}), ScreenFailure);
    EXPECT_THROW(capture({}, DisplayPart{0, 0, 2147483647, 10}), ScreenFailure);
}

TEST_F(WaylandScreenSourceTest, givesNothingWithoutTheGrant)
{
    isAllowed = false;

    EXPECT_THROW(capture(), ScreenFailure);
    EXPECT_TRUE(run(io, source.capturableDisplays()).empty());
    EXPECT_EQ(source.screens().size(), 1U);
}

TEST_F(WaylandScreenSourceTest, triesAgainWhileTheCompositorCannotSayWhatWouldBeInAPicture)
{
    clients.connected = {12};
    names[12].names = {"org.example.vault"};
    frames.fails = true;
    CaptureRequest request{.display = monitor, .width = 64, .height = 48, .excluded = {"org.example.vault"}};
    auto picture = asio::co_spawn(io, source.capture(request), asio::use_future);
    clock.advance(200ms);
    frames.fails = false;

    clock.advance(200ms);

    EXPECT_EQ(picture.get().width, 64);
    EXPECT_GE(frames.taken.size(), 3U);
}

TEST_F(WaylandScreenSourceTest, givesUpAfterSomeAttempts)
{
    clients.connected = {12};
    names[12].names = {"org.example.vault"};
    frames.fails = true;
    CaptureRequest request{.display = monitor, .width = 64, .height = 48, .excluded = {"org.example.vault"}};
    auto picture = asio::co_spawn(io, source.capture(request), asio::use_future);

    clock.advance(2s);

    try {
        picture.get();
        ADD_FAILURE() << "there is a picture";
    } catch (ScreenFailure const& failure) {
        EXPECT_TRUE(failure.mayShowExcluded); // So the agent learns that it may try again.
    }
    EXPECT_EQ(frames.taken.size(), 5U);
}

TEST_F(WaylandScreenSourceTest, givesOnlyMonitorsThatThePersonShared)
{
    shared = monitor + 1;

    EXPECT_TRUE(run(io, source.capturableDisplays()).empty());
    EXPECT_THROW(capture(), ScreenFailure);
}

TEST_F(WaylandScreenSourceTest, givesNoPictureIfTheGrantEndsMeanwhile)
{
    frames.onTake = [this] { isAllowed = false; };

    EXPECT_THROW(capture(), ScreenFailure);
}

TEST_F(WaylandScreenSourceTest, failsForAMonitorThatIsGone)
{
    layout.monitors.clear();

    EXPECT_THROW(capture(), ScreenFailure);
}

} // namespace
} // namespace zelvo
