#include "platform/linux/system/LinuxChildProcesses.h"

#include "platform/portable/files/UniqueFd.h"
#include "unit/system/ChildrenTest.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <sstream>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// Sets a signal handler while it exists.
class ScopedHandler {
public:
    ScopedHandler(int signal, void (*handler)(int)) : number(signal)
    {
        struct sigaction action{};
        action.sa_handler = handler;
        ::sigaction(number, &action, &before);
    }
    ~ScopedHandler() { ::sigaction(number, &before, nullptr); }
    ScopedHandler(ScopedHandler const&) = delete;
    ScopedHandler& operator=(ScopedHandler const&) = delete;

private:
    int number;
    struct sigaction before{};
};

/// Closes the three standard descriptors while it exists, as in a program that was started without them.
class ClosedStandardDescriptors {
public:
    ClosedStandardDescriptors()
    {
        for (int const number : {0, 1, 2}) {
            saved.emplace_back(::fcntl(number, F_DUPFD_CLOEXEC, 10));
            ::close(number);
        }
    }
    ~ClosedStandardDescriptors()
    {
        for (int const number : {0, 1, 2})
            ::dup2(saved[static_cast<std::size_t>(number)].get(), number);
    }
    ClosedStandardDescriptors(ClosedStandardDescriptors const&) = delete;
    ClosedStandardDescriptors& operator=(ClosedStandardDescriptors const&) = delete;

private:
    std::vector<UniqueFd> saved;
};

class LinuxChildProcessesTest : public ChildrenTest {
protected:
    using Variables = std::map<std::string, std::string>;

    static ChildLaunch
    shell(std::string command, std::optional<std::string> folder = {}, Variables added = {})
    {
        return {.executable = "/bin/sh",
                .arguments = {"-c", std::move(command)},
                .directory = std::move(folder),
                .environment = std::move(added)};
    }

    std::unique_ptr<ChildProcess> start(ChildLaunch launch)
    {
        return wait(children.launch(std::move(launch)));
    }

    std::string read(ChildProcess& child, ChildStream stream)
    {
        std::string text;
        std::string buffer(5000, '\0');
        while (std::size_t const count = wait(child.read(stream, buffer)))
            text.append(buffer, 0, count);
        return text;
    }

    /// The output of a command that ends with status 0.
    std::string outputOf(ChildLaunch launch)
    {
        auto const child = start(std::move(launch));
        std::string text = read(*child, ChildStream::output);
        EXPECT_EQ(wait(child->exit()), 0);
        return text;
    }

    /// The text of the LaunchFailure of a launch.
    std::string failureOf(ChildLaunch launch)
    {
        try {
            wait(start(std::move(launch))->exit());
        } catch (LaunchFailure const& failure) {
            return failure.what();
        }
        return "it was started";
    }

    TemporaryFolder folder;
};

TEST_F(LinuxChildProcessesTest, readsBothOutputsAndTheExitCode)
{
    auto const child = start(shell("echo out; echo err >&2; exit 42"));
    EXPECT_EQ(read(*child, ChildStream::output), "out\n");
    EXPECT_EQ(read(*child, ChildStream::error), "err\n");
    EXPECT_EQ(wait(child->exit()), 42);
    EXPECT_EQ(wait(child->exit()), 42);
    EXPECT_FALSE(child->isRunning());
    EXPECT_FALSE(child->isOutputHeld());
}

TEST_F(LinuxChildProcessesTest, exitCodeOfASignalledProcessIsTheSignalsNumber)
{
    for (int const signal : {SIGHUP, SIGKILL, SIGSEGV, SIGTERM}) {
        auto const child = start(shell("ulimit -c 0; kill -" + std::to_string(signal) + " $$"));
        EXPECT_EQ(wait(child->exit()), signal);
    }
}

TEST_F(LinuxChildProcessesTest, leadsAGroupWithoutATerminal)
{
    auto const child = start(shell("cut -d' ' -f1,5,6,7 /proc/$$/stat"));
    std::istringstream words(read(*child, ChildStream::output));
    std::int32_t pid = 0;
    std::int32_t group = 0;
    std::int32_t session = 0;
    int terminal = -1;
    words >> pid >> group >> session >> terminal;
    EXPECT_EQ(pid, child->pid());
    EXPECT_EQ(group, child->pid());
    EXPECT_EQ(session, child->pid());
    EXPECT_EQ(terminal, 0);
    EXPECT_EQ(wait(child->exit()), 0);
}

TEST_F(LinuxChildProcessesTest, signalsReachTheWholeGroup)
{
    auto const child =
        start(shell("trap 'wait; echo outer; exit 5' TERM; sh -c 'trap \"echo inner; exit\" TERM; "
                    "echo ready; while :; do sleep 0.01; done' & wait"));
    std::string buffer(100, '\0');
    wait(child->read(ChildStream::output, buffer));
    EXPECT_TRUE(child->isRunning());
    EXPECT_TRUE(child->isOutputHeld());
    child->signal(GroupSignal::terminate);
    EXPECT_EQ(read(*child, ChildStream::output), "inner\nouter\n");
    EXPECT_EQ(wait(child->exit()), 5);
}

TEST_F(LinuxChildProcessesTest, killReachesWhatTheChildLeftBehind)
{
    auto const child = start(shell("sleep 1000 & echo $!"));
    EXPECT_EQ(wait(child->exit()), 0);
    EXPECT_FALSE(child->isRunning());
    EXPECT_TRUE(child->isOutputHeld());
    child->signal(GroupSignal::kill);
    EXPECT_NE(read(*child, ChildStream::output), "");
    EXPECT_EQ(read(*child, ChildStream::error), "");
    EXPECT_FALSE(child->isOutputHeld());
}

TEST_F(LinuxChildProcessesTest, outputCountsAsHeldOnlyWhileSomebodyCanWrite)
{
    auto const child = start(shell("echo text"));
    EXPECT_EQ(wait(child->exit()), 0);
    EXPECT_FALSE(child->isOutputHeld()); // Although nobody has read it yet.
    EXPECT_EQ(read(*child, ChildStream::output), "text\n");
}

TEST_F(LinuxChildProcessesTest, inputIsTheNullDevice)
{
    EXPECT_EQ(outputOf(shell("readlink /proc/self/fd/0; cat")), "/dev/null\n");
}

TEST_F(LinuxChildProcessesTest, noDescriptorOfOursReachesTheChild)
{
    UniqueFd const leaky(::open("/etc/passwd", O_RDONLY));
    UniqueFd const high(::fcntl(leaky.get(), F_DUPFD, 900));
    ASSERT_TRUE(high);
    auto const other = start(shell("sleep 1000"));
    std::istringstream numbers(outputOf({.executable = "/bin/ls", .arguments = {"/proc/self/fd"}}));
    std::vector<int> seen;
    for (int number = 0; numbers >> number;)
        seen.push_back(number);
    EXPECT_THAT(seen, ElementsAre(0, 1, 2, 3)); // The last one is the folder that ls reads.
    other->signal(GroupSignal::kill);
    wait(other->exit());
}

TEST_F(LinuxChildProcessesTest, signalMaskAndIgnoredSignalsOfOursDoNotReachTheChild)
{
    ScopedHandler const pipes(SIGPIPE, SIG_IGN);
    ScopedHandler const hangups(SIGHUP, SIG_IGN);
    ScopedHandler const handled(SIGUSR1, [](int) {});
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &before);
    asio::thread_pool blocked(1); // Its thread blocks all signals.
    asio::post(blocked, [] {});
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    LinuxChildProcesses fromThere({io.get_executor(), io.get_executor(), blocked.get_executor()});
    auto const child = wait(fromThere.launch({.executable = "/bin/cat", .arguments = {"/proc/self/status"}}));
    std::string const status = read(*child, ChildStream::output);
    for (char const* field : {"SigPnd", "SigBlk", "SigIgn", "SigCgt"})
        EXPECT_THAT(status, HasSubstr(std::string(field) + ":\t0000000000000000\n"));
    EXPECT_EQ(wait(child->exit()), 0); // Otherwise the child would remain for later tests.
    blocked.join();
}

TEST_F(LinuxChildProcessesTest, environmentIsOursMergedWithWhatIsGiven)
{
    ASSERT_EQ(::setenv("ZELVO_KEPT", "kept", 1), 0);
    ASSERT_EQ(::setenv("ZELVO_REPLACED", "old", 1), 0);
    std::string const text = outputOf({.executable = "/usr/bin/env",
                                       .arguments = {},
                                       .environment = {{"ZELVO_REPLACED", "a=b\nc"}, {"ZELVO_NEW", ""}}});
    ::unsetenv("ZELVO_KEPT");
    ::unsetenv("ZELVO_REPLACED");
    EXPECT_THAT(text, HasSubstr("ZELVO_KEPT=kept\n"));
    EXPECT_THAT(text, HasSubstr("ZELVO_REPLACED=a=b\nc\n"));
    EXPECT_THAT(text, HasSubstr("ZELVO_NEW=\n"));
    EXPECT_THAT(text, Not(HasSubstr("old")));
}

TEST_F(LinuxChildProcessesTest, startsInTheGivenFolder)
{
    std::string const path = std::filesystem::canonical(folder.path).string();
    EXPECT_EQ(outputOf({.executable = "/bin/pwd", .arguments = {"-P"}, .directory = path}), path + "\n");
    EXPECT_EQ(outputOf({.executable = "/bin/pwd", .arguments = {"-P"}}),
              std::filesystem::current_path().string() + "\n");
}

TEST_F(LinuxChildProcessesTest, whatCannotBeStartedRunsNothing)
{
    std::string const nul("a\0b", 3);
    std::filesystem::path const trace = folder.path / "trace";
    writeFile(folder.path / "file", "");
    std::string const touch = "touch '" + trace.string() + "'";
    EXPECT_THAT(failureOf(shell(touch + "\n" + nul)), HasSubstr("NUL"));
    EXPECT_THAT(failureOf(shell(touch, nul)), HasSubstr("NUL"));
    EXPECT_THAT(failureOf(shell(touch, {}, {{nul, ""}})), HasSubstr("NUL"));
    EXPECT_THAT(failureOf(shell(touch, {}, {{"A", nul}})), HasSubstr("NUL"));
    EXPECT_THAT(failureOf(shell(touch, {}, {{"A=B", ""}})), HasSubstr("'='"));
    EXPECT_THAT(failureOf(shell(touch, {}, {{"", "x"}})), HasSubstr("empty"));
    EXPECT_THAT(failureOf(shell(touch, "/nowhere/at/all")), HasSubstr("No such file or directory"));
    EXPECT_THAT(failureOf(shell(touch, "")), HasSubstr("No such file or directory"));
    EXPECT_THAT(failureOf(shell(touch, (folder.path / "file").string())), HasSubstr("Not a directory"));
    EXPECT_THAT(failureOf(shell(touch + " #" + std::string(4UL << 20, 'x'))), HasSubstr("too long"));
    ChildLaunch missing = shell(touch);
    missing.executable = "/bin/no-such-shell";
    EXPECT_THAT(failureOf(missing), HasSubstr("No such file or directory"));
    EXPECT_FALSE(std::filesystem::exists(trace));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD); // Not even a zombie.
}

TEST_F(LinuxChildProcessesTest, withoutFreeDescriptorsNothingRuns)
{
    std::filesystem::path const trace = folder.path / "trace";
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    // A sanitizer opens descriptors the first time it checks an object's type, so let it do that now.
    EXPECT_THAT(failureOf({.executable = "/nowhere"}), HasSubstr("No such file"));
    int failures = 0;
    // One descriptor more each time, until there are enough.
    for (UniqueFd top(::dup(0)); failures < 20; ++failures) {
        rlimit const tight{.rlim_cur = static_cast<rlim_t>(top.get() + failures),
                           .rlim_max = before.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &tight);
        std::string const words = failureOf(shell("touch '" + trace.string() + "'"));
        ::setrlimit(RLIMIT_NOFILE, &before);
        if (words == "it was started")
            break;
        EXPECT_THAT(words, HasSubstr("Too many open files"));
        EXPECT_FALSE(std::filesystem::exists(trace));
    }
    EXPECT_GE(failures, 5);
    EXPECT_LT(failures, 20);
}

TEST_F(LinuxChildProcessesTest, leavesNoZombieAndReapsNoOtherChild)
{
    pid_t const foreign = ::fork();
    if (foreign == 0)
        ::_exit(3);
    pid_t pid = 0;
    {
        auto const child = start(shell("true"));
        pid = child->pid();
        EXPECT_EQ(wait(child->exit()), 0);
    }
    EXPECT_EQ(stateOf(pid), std::nullopt);
    int status = 0;
    EXPECT_EQ(::waitpid(foreign, &status, 0), foreign);
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

TEST_F(LinuxChildProcessesTest, childThatIsLetGoIsReapedWhenItEnds)
{
    pid_t pid = 0;
    {
        auto const child = start(shell("sleep 1000"));
        pid = child->pid();
    }
    EXPECT_NE(stateOf(pid), std::nullopt);
    ::kill(-pid, SIGKILL);
    until([&] { return !stateOf(pid); });
}

TEST_F(LinuxChildProcessesTest, exitCodesAreKeptWhereALauncherHadSigchldIgnored)
{
    ScopedHandler const ignored(SIGCHLD, SIG_IGN);
    LinuxChildProcesses made(contexts());
    auto const child = wait(made.launch(shell("exit 6")));
    EXPECT_EQ(wait(child->exit()), 6);
}

TEST_F(LinuxChildProcessesTest, terminateAllReachesEveryGroupAndNothingStartsAfterIt)
{
    auto const one = start(shell("trap 'echo told; exit 1' TERM; echo ready; while :; do sleep 0.01; done"));
    auto const two = start(shell("sleep 1000 & echo ready"));
    for (auto const* child : {&one, &two}) {
        std::string buffer(100, '\0');
        wait((*child)->read(ChildStream::output, buffer));
    }
    EXPECT_EQ(wait(two->exit()), 0);
    children.terminateAll();
    EXPECT_EQ(read(*one, ChildStream::output), "told\n");
    EXPECT_EQ(wait(one->exit()), 1);
    EXPECT_EQ(read(*two, ChildStream::output), "");
    EXPECT_THAT(failureOf(shell("true")), HasSubstr("ending"));
}

TEST_F(LinuxChildProcessesTest, streamThatIsClosedEarlyEndsAlone)
{
    auto const child = start(shell("exec >&-; sleep 0.05; echo late >&2; exit 2"));
    EXPECT_EQ(read(*child, ChildStream::output), "");
    EXPECT_TRUE(child->isOutputHeld());
    EXPECT_EQ(read(*child, ChildStream::error), "late\n");
    EXPECT_EQ(wait(child->exit()), 2);
}

TEST_F(LinuxChildProcessesTest, worksWhereOurStandardDescriptorsAreClosed)
{
    std::string output;
    std::string error;
    {
        ClosedStandardDescriptors const closed;
        auto const child = start(shell("readlink /proc/$$/fd/0; echo err >&2"));
        output = read(*child, ChildStream::output);
        error = read(*child, ChildStream::error);
        wait(child->exit());
    }
    EXPECT_EQ(output, "/dev/null\n");
    EXPECT_EQ(error, "err\n");
}

} // namespace
} // namespace zelvo
