// Sends mixed commands to the built agent and looks whether it, or the X server because of it, grows.
// Usage: soak_program SECONDS [KIND...]. Kinds narrow the mix, to find out which commands a growth comes
// from. Exits with 1 if something grew or a command failed.

#include "desktop/harness/WaitFor.h"
#include "soak/MemoryTrend.h"
#include "soak/ProcessUse.h"
#include "soak/SoakCommands.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>

namespace zelvo::test {
namespace {

constexpr double limitKib = 1024;
// The server takes a megabyte and returns it again and again while keymaps change, so its low mark counts.
constexpr double serverQuantile = 0.1;

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// A process that must not grow, and how its memory went.
class Watched {
public:
    Watched(std::string name, pid_t pid, double quantile)
        : name(std::move(name)), pid(pid), quantile(quantile)
    {
    }

    void sample(double seconds) { samples.push_back({seconds, processUse(pid).privateKib}); }
    void keepCounts() { before = processUse(pid); }

    void print() const
    {
        ProcessUse const use = processUse(pid);
        std::printf("   %s %6.0f KiB, %d descriptors, %d threads", name.c_str(), use.privateKib,
                    use.descriptors, use.threads);
    }
    bool hasFlatMemory(double seconds) const
    {
        MemoryTrend const trend = memoryTrend(samples, seconds / 3, seconds, quantile);
        std::printf("%s: windows in KiB after the first third", name.c_str());
        for (double const window : trend.windows)
            std::printf(" %.0f", window);
        std::printf("; rise %.0f, drift %.0f\n", trend.rise, trend.drift);
        return isFlat(trend, limitKib);
    }
    /// Pools end their idle threads late, so this waits for them.
    bool hasNoMoreThanBefore() const
    {
        ProcessUse now;
        bool const isBack = waitFor(
            [&] {
                now = processUse(pid);
                return now.descriptors <= before.descriptors && now.threads <= before.threads;
            },
            60s);
        std::printf("%s: %d descriptors after %d, %d threads after %d\n", name.c_str(), now.descriptors,
                    before.descriptors, now.threads, before.threads);
        return isBack;
    }

private:
    std::string name;
    pid_t pid;
    double quantile;
    std::vector<MemorySample> samples;
    ProcessUse before;
};

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
        auto const start = std::chrono::steady_clock::now();
        bool hasCounts = false;
        double nextLine = 0;
        for (int turn = 0; secondsSince(start) < seconds; ++turn) {
            for (SoakCommand const& command : mix)
                command.run(turn);
            stage.readEvents();
            double const now = secondsSince(start);
            agent.sample(now);
            server.sample(now);
            if (!hasCounts && now >= seconds / 3) {
                hasCounts = true;
                agent.keepCounts();
            }
            if (now >= nextLine) {
                printLine(now, turn + 1);
                nextLine += seconds / 20;
            }
        }
        return verdict();
    }

private:
    void printLine(double now, int rounds) const
    {
        std::printf("%5.0f s, %5d rounds:", now, rounds);
        agent.print();
        server.print();
        std::puts("");
        std::fflush(stdout);
    }
    bool verdict() const
    {
        bool const isFlat = agent.hasFlatMemory(seconds);
        bool const isServerFlat = server.hasFlatMemory(seconds);
        bool const isBack = agent.hasNoMoreThanBefore();
        std::printf("%s, at most %.0f KiB allowed\n", isFlat && isServerFlat && isBack ? "flat" : "GROWN",
                    limitKib);
        return isFlat && isServerFlat && isBack;
    }

    double seconds;
    SoakStage stage;
    std::vector<SoakCommand> mix;
    Watched agent{"agent", stage.agentProcess(), medianQuantile};
    Watched server{"X server", stage.serverProcess(), serverQuantile};
};

} // namespace
} // namespace zelvo::test

int main(int count, char** arguments)
{
    double const seconds = count > 1 ? std::atof(arguments[1]) : 0;
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
