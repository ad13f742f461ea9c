#include "LoopThread.h"
#include "RatioTable.h"
#include "drivers/ShellRunner.h"
#include "platform/linux/system/LinuxChildProcesses.h"
#include "platform/linux/system/LinuxClock.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_future.hpp>

#include <spawn.h>
#include <sys/wait.h>

#include <csignal>

namespace zelvo {

namespace {

char const* const shell = "/bin/zsh";

/// The minimum: start the same shell with the same command and wait for its end, without reading output.
void bareSpawn(benchmark::State& state)
{
    char name[] = "/bin/zsh";
    char options[] = "-lc";
    char command[] = "true";
    char* const arguments[] = {name, options, command, nullptr};
    for (auto _ : state) {
        pid_t pid = 0;
        int status = 0;
        if (::posix_spawn(&pid, shell, nullptr, nullptr, arguments, environ) != 0 ||
            ::waitpid(pid, &status, 0) != pid || status != 0)
            return state.SkipWithError("the shell does not run");
    }
}

/// The runner on the agent's thread, called from another.
struct RunnerStage {
    LoopThread agent;
    asio::thread_pool workers{3};
    Contexts contexts{agent.io.get_executor(), agent.io.get_executor(), workers.get_executor()};
    LinuxClock clock{contexts.agent};
    LinuxChildProcesses children{contexts};
    ShellRunner runner{contexts, clock, children};

    ShellRunResult run(std::string command)
    {
        auto body = [this, command]() -> Task<ShellRunResult> {
            return runner.run(command, std::nullopt, 60000, std::nullopt);
        };
        return asio::co_spawn(contexts.agent, body, asio::use_future).get();
    }
};

void shellRun(benchmark::State& state)
{
    RunnerStage stage;
    for (auto _ : state)
        if (stage.run("true").exitCode != 0)
            return state.SkipWithError("the command fails");
}

} // namespace

} // namespace zelvo

int main(int count, char** arguments)
{
    using namespace zelvo;
    benchmark::RegisterBenchmark("bareSpawn", bareSpawn)->UseRealTime();
    benchmark::RegisterBenchmark("shellRun", shellRun)->UseRealTime();
    auto const timeOf = [](std::string const& name) {
        return [name](Times const& times) { return times.at(name); };
    };
    return runWithRatios(
        count, arguments,
        {{"\"shell.run\" of true", "bare spawn of the shell", timeOf("shellRun"), timeOf("bareSpawn")}});
}
