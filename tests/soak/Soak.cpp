// Sends mixed commands to the built agent and checks that its memory does not grow.
// Usage: soak_program SECONDS [KIND...]. Kinds restrict the mix, to find the commands that make memory grow.
// Exits with 1 if the agent has grown or a command failed.
//
// The X server is not checked: Xvfb grows by 16 KiB whenever somebody types and then clicks in a GTK window
// under openbox, also without the agent.

#include "desktop/harness/WaitFor.h"
#include "soak/MemoryTrend.h"
#include "soak/ProcessUse.h"
#include "soak/SoakCommands.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

namespace zelvo::test {
namespace {

constexpr double limitKib = 1024;
constexpr int lines = 20;

class Soak {
public:
    Soak(double seconds, std::vector<std::string> const& kinds) : seconds(seconds), mix(soakCommands(stage))
    {
        if (!kinds.empty())
            std::erase_if(mix, [&](SoakCommand const& command) {
                return std::ranges::find(kinds, command.name) == kinds.end();
            });
        if (mix.empty())
            throw std::runtime_error("no such kind of command");
    }

    bool run()
    {
        int round = 0;
        sendUntil(seconds / 3, round);
        ProcessUse const warm = use();
        sendUntil(seconds, round);
        bool const isFlat = hasFlatMemory();
        bool const hasNoMore = hasNoMoreThan(warm);
        std::printf("%s: at most %.0f KiB are allowed\n", isFlat && hasNoMore ? "flat" : "GROWN", limitKib);
        return isFlat && hasNoMore;
    }

private:
    ProcessUse use() const { return processUse(stage.agentProcess()); }
    double elapsed() const
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    void sendUntil(double end, int& round)
    {
        for (; elapsed() < end; ++round) {
            for (SoakCommand const& command : mix)
                command.run(round);
            ProcessUse const now = use();
            samples.push_back({elapsed(), now.privateKib});
            if (elapsed() >= nextLine) {
                std::printf("%5.0f s, %5d rounds: %6.0f KiB, %d descriptors, %d threads\n", elapsed(),
                            round + 1, now.privateKib, now.descriptors, now.threads);
                std::fflush(stdout);
                nextLine += seconds / lines;
            }
        }
    }
    bool hasFlatMemory() const
    {
        MemoryTrend const trend = memoryTrend(samples, seconds / 3, seconds);
        std::printf("medians in KiB after the first third:");
        for (double const window : trend.windows)
            std::printf(" %.0f", window);
        std::printf("; rise %.0f, drift %.0f\n", trend.rise, trend.drift);
        return isFlat(trend, limitKib);
    }
    /// Pools end their idle threads late, so this waits for them.
    bool hasNoMoreThan(ProcessUse const& warm) const
    {
        ProcessUse now;
        auto const isBack = [&] {
            now = use();
            return now.descriptors <= warm.descriptors && now.threads <= warm.threads;
        };
        bool const holds = waitFor(isBack, 60s);
        std::printf("%d descriptors, %d after the first third; %d threads, %d after the first third\n",
                    now.descriptors, warm.descriptors, now.threads, warm.threads);
        return holds;
    }

    double seconds;
    SoakStage stage;
    std::vector<SoakCommand> mix;
    std::vector<MemorySample> samples;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    double nextLine = 0;
};

} // namespace
} // namespace zelvo::test

int main(int count, char** arguments)
{
    double const seconds = count > 1 ? std::strtod(arguments[1], nullptr) : 0;
    if (seconds <= 0) {
        std::fputs("usage: soak_program SECONDS [KIND...]\n", stderr);
        return 2;
    }
    try {
        return zelvo::test::Soak(seconds, {arguments + 2, arguments + count}).run() ? 0 : 1;
    } catch (std::exception const& failure) {
        std::fprintf(stderr, "soak: %s\n", failure.what());
        return 1;
    }
}
