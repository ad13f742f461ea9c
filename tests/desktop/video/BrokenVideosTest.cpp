#include "desktop/video/FakeEncoder.h"
#include "desktop/video/TestPictures.h"
#include "desktop/video/VideoFacts.h"
#include "platform/portable/video/LibavVideoFiles.h"
#include "unit/system/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <sched.h>
#include <signal.h>
#include <sys/fsuid.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <thread>

namespace zelvo::test {
namespace {

namespace fs = std::filesystem;

constexpr Duration eighth = 125ms;

std::ptrdiff_t openDescriptors()
{
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

class BrokenVideos : public testing::Test {
protected:
    /// Appends frames until one is refused. Returns how many were accepted.
    static std::size_t fill(VideoFile& video, int atMost)
    {
        for (int number = 0; number < atMost; ++number)
            if (!video.append(busyPicture(320, 180, number), number * eighth))
                return std::size_t(number);
        return std::size_t(atMost);
    }

    static void expectPlays(fs::path const& video, std::size_t frames)
    {
        EXPECT_EQ(decodableFrames(video), frames);
        EXPECT_EQ(complaintsAbout(video), "");
    }

    TemporaryFolder folder;
    fs::path path = folder.path / "video.mp4";
};

TEST_F(BrokenVideos, keepWhatCameBeforeTheEncoderFailedAtAnyCall)
{
    for (int call : {0, 1, 2, 3, 8, 11}) {
        // The probe's encoder has none of these faults.
        int opened = 0;
        LibavVideoFiles videos([&](EncoderCandidate const& candidate, VideoSettings const& settings) {
            return withFaults({.failsAtCall = opened++ ? call : -1})(candidate, settings);
        });
        auto const video = videos.create(settingsFor(path));

        std::size_t const taken = fill(*video, 10);

        EXPECT_EQ(taken, std::size_t(call) / 2);
        EXPECT_FALSE(video->isReadyForMoreData());
        EXPECT_FALSE(video->append(busyPicture(320, 180, 11), 11 * eighth));
        EXPECT_FALSE(video->repeat(12 * eighth));
        EXPECT_EQ(video->finish(20 * eighth), taken > 0) << call;
        EXPECT_EQ(fs::exists(path), taken > 0) << call;
        if (taken > 0) {
            expectPlays(path, taken);
            EXPECT_DOUBLE_EQ(factsOf(path).duration, 2.5);
        }
        fs::remove(path);
    }
}

TEST_F(BrokenVideos, leaveNothingOpen)
{
    auto const before = openDescriptors();
    for (int call = 0; call < 12; ++call) {
        int opened = 0;
        LibavVideoFiles videos([&](EncoderCandidate const& candidate, VideoSettings const& settings) {
            return withFaults({.failsAtCall = opened++ ? call : -1})(candidate, settings);
        });
        auto video = videos.create(settingsFor(path));
        EXPECT_GT(openDescriptors(), before);
        fill(*video, 5);
        if (call % 3 == 0)
            video->cancel();
        else if (call % 3 == 1)
            video->finish(1s);
        video.reset();
        EXPECT_EQ(openDescriptors(), before) << call;
        fs::remove(path);
    }
}

TEST_F(BrokenVideos, chooseAnotherEncoderWhenTheOneTheyKnewDoesNotOpen)
{
    bool isGone = false;
    LibavVideoFiles videos([&](EncoderCandidate const& candidate, VideoSettings const& settings) {
        if (std::exchange(isGone, false))
            throw VideoFailure{"the device is gone"};
        return openLibavEncoder(candidate, settings);
    });
    videos.create(settingsFor(folder.path / "first.mp4"))->cancel();
    isGone = true;

    auto const video = videos.create(settingsFor(path));

    EXPECT_FALSE(isGone);
    EXPECT_EQ(fill(*video, 3), 3u);
    EXPECT_TRUE(video->finish(1s));
    expectPlays(path, 3);
}

TEST_F(BrokenVideos, areAnsweredTruthfullyWhenTheEncoderFailsAtTheEnd)
{
    for (bool fails : {true, false}) {
        int opened = 0;
        LibavVideoFiles videos([&](EncoderCandidate const& candidate, VideoSettings const& settings) {
            // The probe's encoder has none of these faults.
            EncoderFaults faults;
            if (opened++)
                faults = {.failsAtCall = fails ? 10 : -1, .holdsBack = true};
            return withFaults(faults)(candidate, settings);
        });
        auto const video = videos.create(settingsFor(path));
        EXPECT_EQ(fill(*video, 5), 5u);

        EXPECT_EQ(video->finish(5 * eighth), !fails);

        EXPECT_EQ(fs::exists(path), !fails);
        if (!fails)
            expectPlays(path, 5);
    }
}

TEST_F(BrokenVideos, takeNoPictureOfAnotherSize)
{
    LibavVideoFiles videos;
    auto const video = videos.create(settingsFor(path));
    ASSERT_EQ(fill(*video, 3), 3u);

    EXPECT_FALSE(video->append(busyPicture(322, 180, 3), 3 * eighth));

    EXPECT_TRUE(video->finish(1s));
    expectPlays(path, 3);
}

/// Limits the size of every file that this process writes.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        ::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &before);
        rlimit const limit{.rlim_cur = bytes, .rlim_max = before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &before);
        ::signal(SIGXFSZ, SIG_DFL);
    }
    FileSizeLimit(FileSizeLimit const&) = delete;
    FileSizeLimit& operator=(FileSizeLimit const&) = delete;

private:
    rlimit before{};
};

TEST_F(BrokenVideos, playUpToWhereTheFileCouldNotGrow)
{
    LibavVideoFiles videos;
    auto const video = videos.create(settingsFor(path));
    std::size_t taken = 0;
    {
        FileSizeLimit const limit(100'000);
        taken = fill(*video, 10'000);
        EXPECT_LT(fs::file_size(path), 300'001u);
    }

    EXPECT_GT(taken, 3u);
    EXPECT_LT(taken, 10'000u);
    expectPlays(path, taken);
    EXPECT_TRUE(video->finish(taken * eighth)); // There is room again.
    expectPlays(path, taken);
    EXPECT_NEAR(factsOf(path).duration, double(taken) * 0.125, 1e-6);
}

TEST_F(BrokenVideos, cannotBeginWhereNotEvenTheHeadFits)
{
    FileSizeLimit const limit(100);

    EXPECT_THROW(LibavVideoFiles().create(settingsFor(path)), VideoFailure);

    EXPECT_FALSE(fs::exists(path));
}

/// Runs `body` on a thread that sees a disk of this size at a folder. False if that is not possible.
bool onASmallDisk(fs::path const& folder, char const* size, std::function<void()> const& body)
{
    bool ran = false;
    std::thread([&] {
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("none", folder.c_str(), "tmpfs", 0, size) != 0)
            return;
        ran = true;
        body();
    }).join();
    return ran;
}

TEST_F(BrokenVideos, playUpToWhereTheDiskWasFull)
{
    auto const body = [&] {
        LibavVideoFiles videos;
        auto const video = videos.create(settingsFor(path));

        std::size_t const taken = fill(*video, 10'000);

        EXPECT_GT(taken, 3u);
        EXPECT_LT(taken, 10'000u);
        expectPlays(path, taken);
        EXPECT_FALSE(video->finish(taken * eighth)); // No room for the rewritten file.
        expectPlays(path, taken);
        EXPECT_EQ(std::distance(fs::directory_iterator(folder.path), fs::directory_iterator()), 1);
    };
    if (!onASmallDisk(folder.path, "size=200k", body))
        GTEST_SKIP() << "no disk of our own can be mounted here";
}

TEST_F(BrokenVideos, areFinishedOnAnotherFileSystem)
{
    auto const body = [&] {
        LibavVideoFiles videos;
        auto const video = videos.create(settingsFor(path));
        ASSERT_EQ(fill(*video, 10), 10u);
        EXPECT_TRUE(video->finish(10 * eighth));
        expectPlays(path, 10);
    };
    if (!onASmallDisk(folder.path, "size=8m", body))
        GTEST_SKIP() << "no disk of our own can be mounted here";
}

/// Denies this thread writing into a folder.
class ReadOnly {
public:
    explicit ReadOnly(fs::path folder) : folder(std::move(folder))
    {
        fs::permissions(this->folder, fs::perms(0555));
        if (::geteuid() == 0)
            ::setfsuid(65534);
    }
    ~ReadOnly()
    {
        ::setfsuid(::geteuid());
        fs::permissions(folder, fs::perms(0700));
    }
    ReadOnly(ReadOnly const&) = delete;
    ReadOnly& operator=(ReadOnly const&) = delete;

private:
    fs::path folder;
};

TEST_F(BrokenVideos, cannotBeginInAReadOnlyFolder)
{
    ReadOnly const sealed(folder.path);

    try {
        LibavVideoFiles().create(settingsFor(path));
        FAIL() << "a video was made";
    } catch (VideoFailure const& failure) {
        EXPECT_EQ(failure.reason, "the video's file: Permission denied");
    }
}

TEST_F(BrokenVideos, stayWhenTheFolderHasBecomeReadOnly)
{
    LibavVideoFiles videos;
    auto const video = videos.create(settingsFor(path));
    ASSERT_EQ(fill(*video, 5), 5u);
    {
        ReadOnly const sealed(folder.path);

        EXPECT_TRUE(video->append(busyPicture(320, 180, 5), 5 * eighth));
        EXPECT_FALSE(video->finish(6 * eighth));
    }
    expectPlays(path, 6);
}

TEST_F(BrokenVideos, areNotTalkedAbout)
{
    testing::internal::CaptureStderr();
    {
        LibavVideoFiles videos;
        auto const video = videos.create(settingsFor(path));
        EXPECT_EQ(fill(*video, 3), 3u);
        FileSizeLimit const limit(10'000);
        fill(*video, 100);
        video->finish(1s);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
} // namespace zelvo::test
