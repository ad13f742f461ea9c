#include "desktop/video/VideoFacts.h"
#include "unit/system/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

namespace zelvo::test {
namespace {

/// The program that writes a video, and its termination.
class Writer {
public:
    Writer(std::filesystem::path const& video, std::string const& frames)
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("pipe");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        std::vector<std::string> words = {ZELVO_VIDEO_WRITER, video.string()};
        if (!frames.empty())
            words.push_back(frames);
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        int const failure = ::posix_spawn(&pid, arguments[0], &actions, nullptr, arguments.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
        output = ::fdopen(ends[0], "r");
        if (failure != 0)
            throw std::runtime_error("the writer does not start");
    }
    ~Writer()
    {
        kill();
        std::fclose(output);
    }
    Writer(Writer const&) = delete;
    Writer& operator=(Writer const&) = delete;

    /// Waits for this output.
    void waitFor(std::string const& wanted)
    {
        char line[64];
        while (std::fgets(line, sizeof line, output))
            if (line == wanted + "\n")
                return;
        throw std::runtime_error("the writer has ended");
    }
    void kill()
    {
        if (pid <= 0)
            return;
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
        pid = 0;
    }

private:
    pid_t pid = 0;
    std::FILE* output = nullptr;
};

void expectEighths(VideoFacts const& facts)
{
    for (std::size_t i = 0; i < facts.packets.size(); ++i)
        EXPECT_NEAR(facts.packets[i].time, double(i) * 0.125, 1e-5) << i;
}

class KilledVideo : public testing::TestWithParam<int> {
protected:
    TemporaryFolder folder;
    std::filesystem::path video = folder.path / "video.mp4";
};

TEST_P(KilledVideo, playsUpToTheLastFrameThatWasTaken)
{
    Writer writer(video, "");
    writer.waitFor(std::to_string(GetParam() - 1));
    writer.kill();

    EXPECT_GE(decodableFrames(video), std::size_t(GetParam()));
    expectEighths(factsOf(video));
}

INSTANTIATE_TEST_SUITE_P(After, KilledVideo, testing::Values(1, 2, 7, 90));

TEST_F(KilledVideo, playsWholeWhenThatHappenedAtTheEnd)
{
    for (int milliseconds : {0, 1, 2, 4, 8}) {
        Writer writer(video, "100");
        writer.waitFor("finishing");
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        writer.kill();

        EXPECT_EQ(decodableFrames(video), 100u) << milliseconds;
        expectEighths(factsOf(video));
        std::filesystem::remove(video);
    }
}

} // namespace
} // namespace zelvo::test
