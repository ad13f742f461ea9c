#include "fakes/Run.h"
#include "unit/system/TemporaryFolder.h"
#include "unit/updates/TestRelease.h"

#include <gtest/gtest.h>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>
#include <thread>

extern char** environ;

namespace zelvo {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

/// Programs of a megabyte, so that a kill often meets a file that is half written.
std::string noise(char seed)
{
    std::minstd_rand random(static_cast<unsigned>(seed));
    std::string text(1'000'000, ' ');
    for (char& one : text)
        one = static_cast<char>('a' + random() % 26);
    return text;
}

class UpdateKillTest : public testing::Test {
protected:
    TemporaryFolder temporary;
    fs::path installed = temporary.path / "zelvo-agent";
    fs::path records = temporary.path / "records";
    TestSigner signer;
    TestVersion before{.version = "1.0", .padding = noise('a')};
    TestVersion after{.version = "2.0", .padding = noise('b')};

    void SetUp() override
    {
        TestFeed const feed{.version = "2.0", .archive = after.archive()};
        writeFile(temporary.path / "feed", feed.signedBy(signer));
        writeFile(temporary.path / "archive", feed.archive);
        before.writeTo(installed);
    }
    /// A new start of the process; its files can have `maxFileBytes`.
    pid_t launch() const
    {
        std::vector<std::string> arguments{
            UPDATE_WORKER,           installed / "zelvo-agent",  records,
            temporary.path / "feed", temporary.path / "archive", signer.publicKey()};
        std::vector<char*> raw;
        for (std::string& one : arguments)
            raw.push_back(one.data());
        raw.push_back(nullptr);
        pid_t child = 0;
        if (::posix_spawn(&child, UPDATE_WORKER, nullptr, nullptr, raw.data(), environ) != 0)
            throw std::runtime_error("the worker can't be started");
        return child;
    }
    static int statusOf(pid_t child)
    {
        int status = 0;
        ::waitpid(child, &status, 0);
        return status;
    }
    Clock::duration timeOfAWholeUpdate()
    {
        auto const begin = Clock::now();
        EXPECT_EQ(statusOf(launch()), 0);
        EXPECT_TRUE(after.isIn(installed));
        auto const time = Clock::now() - begin;
        reset();
        return time;
    }
    void reset()
    {
        fs::remove_all(installed);
        fs::remove_all(records);
        fs::remove_all(temporary.path / ".zelvo-agent.standby");
        before.writeTo(installed);
    }
};

TEST_F(UpdateKillTest, atEveryMomentTheProgramIsOldOrNew)
{
    constexpr int kills = 200;
    auto const whole = std::chrono::duration_cast<std::chrono::microseconds>(timeOfAWholeUpdate());
    std::mt19937 random(7);
    std::uniform_int_distribution<std::int64_t> moment(0, whole.count() * 11 / 10);
    int old = 0;
    int fresh = 0;
    for (int i = 0; i < kills; ++i) {
        pid_t const child = launch();
        std::this_thread::sleep_for(
            std::chrono::microseconds(moment(random))); // The moment is the test's input.
        ::kill(child, SIGKILL);
        statusOf(child);

        bool const isOld = before.isIn(installed);
        bool const isNew = after.isIn(installed);
        ASSERT_NE(isOld, isNew) << "after kill " << i;
        old += isOld ? 1 : 0;
        fresh += isNew ? 1 : 0;
        if (isNew)
            reset();
    }
    EXPECT_GT(old, 0);
    EXPECT_GT(fresh, 0);
    EXPECT_EQ(statusOf(launch()), 0) << "what the kills left prevents the update";
    EXPECT_TRUE(after.isIn(installed));
}

/// Lets no file grow beyond a size, which fails like a full disk, but with another error number.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &before);
        rlimit const limited{.rlim_cur = bytes, .rlim_max = before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limited);
        handler = std::signal(SIGXFSZ, SIG_IGN);
    }
    FileSizeLimit(FileSizeLimit const&) = delete;
    FileSizeLimit& operator=(FileSizeLimit const&) = delete;
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }

private:
    rlimit before{};
    void (*handler)(int) = SIG_DFL;
};

TEST_F(UpdateKillTest, withoutRoomForItsFilesItStaysOldAndTriesAgainLater)
{
    for (rlim_t const bytes : {0, 10, 100'000, 900'000}) {
        int status = 0;
        {
            FileSizeLimit const limit(bytes);
            status = statusOf(launch());
        }
        EXPECT_NE(status, 0) << bytes;
        ASSERT_TRUE(before.isIn(installed)) << bytes;
    }
    EXPECT_EQ(statusOf(launch()), 0);
    EXPECT_TRUE(after.isIn(installed));
}

} // namespace
} // namespace zelvo
