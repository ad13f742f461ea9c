#include "desktop/video/TestPictures.h"
#include "desktop/video/VideoFacts.h"
#include "platform/portable/video/LibavVideoFiles.h"
#include "unit/system/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <fstream>

namespace zelvo::test {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

std::size_t place(std::vector<std::string> const& boxes, std::string const& name)
{
    return std::size_t(std::ranges::find(boxes, name) - boxes.begin());
}

std::size_t residentBytes()
{
    std::ifstream file("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    file >> total >> resident;
    return resident * 4096;
}

class LibavVideoFile : public testing::Test {
protected:
    std::unique_ptr<VideoFile> create(int width = 320, int height = 180)
    {
        return videos.create(settingsFor(path, width, height));
    }

    std::size_t filesInFolder() const
    {
        return std::size_t(std::distance(fs::directory_iterator(folder.path), fs::directory_iterator()));
    }

    LibavVideoFiles videos;
    TemporaryFolder folder;
    fs::path path = folder.path / "video.mp4";
};

TEST_F(LibavVideoFile, isWhatWasAskedFor)
{
    auto const video = create(640, 360);
    for (int number = 0; number < 100; ++number) {
        // Every tenth frame is a cut to another scene.
        Picture const picture =
            number % 10 == 5 ? busyPicture(640, 360, number) : calmPicture(640, 360, number);
        EXPECT_TRUE(video->isReadyForMoreData());
        ASSERT_TRUE(video->append(picture, number * Duration(125ms)));
    }
    ASSERT_TRUE(video->finish(12'500ms));

    VideoFacts const facts = factsOf(path);
    EXPECT_EQ(facts.codec, "h264");
    EXPECT_EQ(facts.profile, "High");
    EXPECT_EQ(facts.pixelFormat, "yuv420p");
    EXPECT_EQ(facts.width, 640);
    EXPECT_EQ(facts.height, 360);
    EXPECT_EQ(facts.reorderedFrames, 0);
    EXPECT_DOUBLE_EQ(facts.duration, 12.5);
    ASSERT_EQ(facts.packets.size(), 100u);
    for (std::size_t i = 0; i < 100; ++i) {
        EXPECT_NEAR(facts.packets[i].time, double(i) * 0.125, 1e-6);
        EXPECT_NEAR(facts.packets[i].duration, 0.125, 1e-6);
        EXPECT_EQ(facts.packets[i].isKey, i % 80 == 0) << i;
    }
    EXPECT_EQ(complaintsAbout(path), "");
    EXPECT_EQ(decodableFrames(path), 100u);
}

TEST_F(LibavVideoFile, spendsTheBitsThatItWasGiven)
{
    constexpr int frames = 160;
    for (std::int64_t const bitRate : {1'000'000, 2'000'000}) {
        VideoSettings settings = settingsFor(path, 640, 360);
        settings.averageBitRate = bitRate;
        auto const video = videos.create(settings);
        for (int number = 0; number < frames; ++number)
            ASSERT_TRUE(video->append(busyPicture(640, 360, number), number * Duration(125ms)));
        ASSERT_TRUE(video->finish(frames * Duration(125ms)));

        double const spent = double(fs::file_size(path)) * 8 / (frames * 0.125);
        EXPECT_NEAR(spent, double(bitRate), double(bitRate) * 0.2);
        fs::remove(path);
    }
}

TEST_F(LibavVideoFile, isAPlainFileWithTheIndexInFrontInTheEnd)
{
    auto const video = create();
    for (int number = 0; number < 20; ++number)
        ASSERT_TRUE(video->append(calmPicture(320, 180, number), number * Duration(125ms)));
    EXPECT_THAT(boxesOf(path), Contains("moof"));

    ASSERT_TRUE(video->finish(3s));

    auto const boxes = boxesOf(path);
    EXPECT_LT(place(boxes, "moov"), place(boxes, "mdat"));
    EXPECT_LT(place(boxes, "mdat"), boxes.size());
    EXPECT_THAT(boxes, Not(Contains("moof")));
    EXPECT_EQ(modeOf(path), 0600u);
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(LibavVideoFile, playsWhileItGrows)
{
    auto const video = create();
    EXPECT_EQ(modeOf(path), 0600u);
    for (std::size_t number = 0; number < 12; ++number) {
        ASSERT_TRUE(video->append(calmPicture(320, 180, int(number)), number * Duration(500ms)));
        EXPECT_EQ(decodableFrames(path), number + 1);
    }

    VideoFacts const facts = factsOf(path);
    for (std::size_t i = 0; i < facts.packets.size(); ++i)
        EXPECT_NEAR(facts.packets[i].time, double(i) * 0.5, 1e-6);
    EXPECT_EQ(complaintsAbout(path), "");
}

TEST_F(LibavVideoFile, keepsTimesExactly)
{
    // Times start at the first frame, whatever its time is; two fall into one tick, one follows after half an
    // hour.
    std::vector<Duration> const times = {
        7s, 7s + 3ms, 7s + 3'001us, 7s + 3'002us, 8s + 123'456us, 8s + 1'000'000us, 8s + 1'001'000us, 1807s};
    auto const video = create();
    for (Duration const time : times)
        ASSERT_TRUE(video->append(calmPicture(320, 180, int(time / 1s)), time));
    ASSERT_TRUE(video->finish(1820s));

    VideoFacts const facts = factsOf(path);
    ASSERT_EQ(facts.packets.size(), times.size());
    constexpr double tick = 1.0 / 90'000;
    for (std::size_t i = 0; i < times.size(); ++i) {
        double const wanted = std::chrono::duration<double>(times[i] - times[0]).count();
        EXPECT_NEAR(facts.packets[i].time, wanted, 4.1 * tick) << i;
        if (i > 0)
            EXPECT_GT(facts.packets[i].time, facts.packets[i - 1].time + tick / 2);
    }
    EXPECT_NEAR(facts.packets.back().duration, 13, 1e-5);
    EXPECT_NEAR(facts.duration, 1813, 1e-5);
    EXPECT_EQ(decodableFrames(path), times.size());
}

TEST_F(LibavVideoFile, isAsLongAsItLastedThoughNothingMoved)
{
    auto const video = create();
    ASSERT_TRUE(video->append(plainPicture(320, 180, 0x336699), 0s));
    ASSERT_TRUE(video->finish(60s));

    EXPECT_DOUBLE_EQ(factsOf(path).duration, 60);
    EXPECT_EQ(decodableFrames(path), 1u);
}

TEST_F(LibavVideoFile, isAsLongAsItLastedThoughNothingMovedForTwoDays)
{
    auto const video = create();
    ASSERT_TRUE(video->append(plainPicture(320, 180, 0x336699), 0s));
    ASSERT_TRUE(video->append(plainPicture(320, 180, 0x00aa00), 24h));
    ASSERT_TRUE(video->repeat(36h));
    ASSERT_TRUE(video->finish(48h));

    VideoFacts const facts = factsOf(path);
    EXPECT_NEAR(facts.duration, 48 * 3600, 1e-3);
    ASSERT_EQ(facts.packets.size(), 48u);
    for (std::size_t i = 0; i < facts.packets.size(); ++i)
        EXPECT_NEAR(facts.packets[i].time, double(i) * 3600, 1e-3);
    EXPECT_EQ(complaintsAbout(path), "");
    EXPECT_EQ(frameAt(path, 0), frameAt(path, 23 * 3600));
    EXPECT_NE(frameAt(path, 0), frameAt(path, 24 * 3600));
}

TEST_F(LibavVideoFile, repeatsThePictureBefore)
{
    auto const video = create();
    EXPECT_FALSE(video->repeat(0s)); // There is no frame to repeat.
    ASSERT_TRUE(video->append(plainPicture(320, 180, 0x00aa00), 0s));
    ASSERT_TRUE(video->repeat(10s));
    ASSERT_TRUE(video->finish(10'125ms));

    VideoFacts const facts = factsOf(path);
    ASSERT_EQ(facts.packets.size(), 2u);
    EXPECT_NEAR(facts.packets[1].time, 10, 1e-6);
    EXPECT_NEAR(facts.duration, 10.125, 1e-6);
    EXPECT_EQ(frameAt(path, 0), frameAt(path, 10));
}

TEST_F(LibavVideoFile, showsTheColoursOfTheScreen)
{
    std::vector<std::uint32_t> const colors = {0xff0000, 0x00ff00, 0x0000ff, 0xffffff,
                                               0x000000, 0x808080, 0xff00aa};
    auto const video = create(64 * int(colors.size()), 64);
    Picture picture = plainPicture(64 * int(colors.size()), 64, 0);
    for (std::size_t i = 0; i < colors.size(); ++i)
        fill(picture, int(i) * 64, 0, 64, 64, colors[i]);
    ASSERT_TRUE(video->append(picture, 0s));
    ASSERT_TRUE(video->finish(1s));

    std::string const shown = frameAt(path, 0);
    ASSERT_EQ(shown.size(), std::size_t(picture.width) * 64 * 4);
    for (std::size_t i = 0; i < colors.size(); ++i) {
        std::size_t const at = (std::size_t(32) * std::size_t(picture.width) + i * 64 + 32) * 4;
        for (std::size_t channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(std::uint8_t(shown[at + channel]), colors[i] >> 8 * channel & 0xff, 14)
                << std::hex << colors[i];
    }
}

TEST_F(LibavVideoFile, doesNotTakeAPlaceThatIsTaken)
{
    writeFile(path, "somebody's");
    fs::create_symlink(folder.path / "nowhere", folder.path / "link.mp4");

    EXPECT_THROW(create(), VideoFailure);
    EXPECT_EQ(contentOf(path), "somebody's");
    path = folder.path / "link.mp4";
    EXPECT_THROW(create(), VideoFailure);
    EXPECT_FALSE(fs::exists(folder.path / "nowhere"));
    path = folder.path / "missing" / "video.mp4";
    EXPECT_THROW(create(), VideoFailure);
}

TEST_F(LibavVideoFile, wantsASizeThatCanBeRecorded)
{
    EXPECT_THROW(create(321, 180), VideoFailure);
    EXPECT_THROW(create(320, 0), VideoFailure);
    EXPECT_THROW(create(100'000, 100'000), VideoFailure);
    EXPECT_EQ(filesInFolder(), 0u);
}

TEST_F(LibavVideoFile, goesWhenItIsCancelledOrHasNoFrame)
{
    create()->cancel();
    EXPECT_EQ(filesInFolder(), 0u);

    auto video = create();
    ASSERT_TRUE(video->append(calmPicture(320, 180, 0), 0s));
    video->cancel();
    EXPECT_EQ(filesInFolder(), 0u);
    EXPECT_FALSE(video->append(calmPicture(320, 180, 1), 1s));
    EXPECT_FALSE(video->finish(2s));

    EXPECT_FALSE(create()->finish(1s));
    EXPECT_EQ(filesInFolder(), 0u);
}

TEST_F(LibavVideoFile, staysWhenNobodyFinishesIt)
{
    ASSERT_TRUE(create()->append(calmPicture(320, 180, 0), 0s));

    EXPECT_EQ(decodableFrames(path), 1u);
}

TEST_F(LibavVideoFile, leavesAloneWhatSomebodyHasMovedOrPutThere)
{
    auto video = create();
    ASSERT_TRUE(video->append(calmPicture(320, 180, 0), 0s));
    fs::rename(path, folder.path / "moved.mp4");
    writeFile(path, "somebody's");

    EXPECT_FALSE(video->finish(1s));

    EXPECT_EQ(contentOf(path), "somebody's");
    EXPECT_EQ(decodableFrames(folder.path / "moved.mp4"), 1u);
    EXPECT_EQ(filesInFolder(), 2u);
}

TEST_F(LibavVideoFile, needsNoMoreMemoryTheLongerItIs)
{
    auto const video = create();
    std::size_t before = 0;
    for (int number = 0; number < 3000; ++number) {
        if (number == 500)
            before = residentBytes();
        ASSERT_TRUE(video->append(calmPicture(320, 180, number % 60), number * Duration(125ms)));
    }

    // A sanitizer keeps freed memory.
#if !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer)
    EXPECT_LT(residentBytes(), before + (1u << 20));
#else
    EXPECT_GT(before, 0u);
#endif
    ASSERT_TRUE(video->finish(375s));
    EXPECT_DOUBLE_EQ(factsOf(path).duration, 375);
}

} // namespace
} // namespace zelvo::test
