#include "platform/linux/system/LinuxChildProcesses.h"

#include "base/AsyncCondition.h"
#include "base/Hop.h"
#include "platform/linux/system/ChildStart.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/system/system_error.hpp>

#include <poll.h>
#include <sys/wait.h>

#include <csignal>
#include <mutex>
#include <optional>
#include <set>
#include <utility>

namespace zelvo {

namespace {

/// While SIGCHLD is ignored, as some launchers leave it, the kernel discards exit codes.
void keepExitCodes()
{
    struct sigaction action{};
    if (::sigaction(SIGCHLD, nullptr, &action) != 0)
        return;
    bool const isIgnored = !(action.sa_flags & SA_SIGINFO) && action.sa_handler == SIG_IGN;
    if (!isIgnored && !(action.sa_flags & SA_NOCLDWAIT))
        return;
    if (isIgnored)
        action.sa_handler = SIG_DFL;
    action.sa_flags &= ~SA_NOCLDWAIT;
    ::sigaction(SIGCHLD, &action, nullptr);
}

short eventsOf(int descriptor)
{
    pollfd question{.fd = descriptor, .events = POLLIN, .revents = 0};
    return ::poll(&question, 1, 0) > 0 ? question.revents : short{0};
}

} // namespace

/// The groups whose ids are still ours because their leaders are not reaped yet. Thread: any.
class LinuxChildProcesses::RunningGroups {
public:
    void assertOpen() const
    {
        std::scoped_lock guard(lock);
        if (isEnding)
            throw LaunchFailure("The program is ending");
    }

    void add(pid_t leader)
    {
        std::scoped_lock guard(lock);
        leaders.insert(leader);
        if (isEnding) // It started while the others were being ended.
            ::kill(-leader, SIGTERM);
    }

    /// Releases the id, which the system may give to another group at once.
    void reap(pid_t leader, int pidFd)
    {
        std::scoped_lock guard(lock);
        siginfo_t facts{};
        if (::waitid(P_PIDFD, static_cast<id_t>(pidFd), &facts, WEXITED | WNOHANG) == 0 && facts.si_pid != 0)
            leaders.erase(leader);
    }

    void terminateAll()
    {
        std::scoped_lock guard(lock);
        isEnding = true;
        for (pid_t const leader : leaders)
            ::kill(-leader, SIGTERM);
    }

private:
    mutable std::mutex lock;
    std::set<pid_t> leaders; // lock
    bool isEnding = false;   // lock
};

/// A process, followed until it is reaped, also after all owners are gone. It is reaped only then, so that
/// its id, which is also its group's, cannot be reused before. Everything on the agent's thread.
class LinuxChildProcesses::Process : public std::enable_shared_from_this<Process> {
public:
    Process(Executor const& agent, pid_t pid, UniqueFd pidFd, std::shared_ptr<RunningGroups> groups)
        : id(pid), fd(pidFd.get()), descriptor(agent, fd), groups(std::move(groups))
    {
        pidFd.release(); // Owned by the stream from here on.
    }
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;
    ~Process()
    {
        if (!isReaped) // The event loop ended before the process.
            groups->reap(id, fd);
    }

    pid_t pid() const { return id; }
    bool isRunning() const { return !(eventsOf(fd) & POLLIN); }
    void signal(int number) const { ::kill(-id, number); }

    void follow()
    {
        descriptor.async_wait(asio::posix::stream_descriptor::wait_read,
                              [self = shared_from_this()](boost::system::error_code const& error) {
                                  if (!error)
                                      self->tellEnd();
                              });
    }

    Task<std::int32_t> exit()
    {
        co_await waiting.wait([this] { return status.has_value(); });
        co_return waiting.with([this] { return *status; });
    }

    void letGo()
    {
        isLetGo = true;
        if (status)
            reap();
    }

private:
    void tellEnd()
    {
        siginfo_t facts{};
        bool const isKnown =
            ::waitid(P_PIDFD, static_cast<id_t>(fd), &facts, WEXITED | WNOHANG | WNOWAIT) == 0 &&
            facts.si_pid;
        // For a signalled process, the signal's number. -1: somebody else has reaped it.
        waiting.notifyAll([&] { status = isKnown ? facts.si_status : -1; });
        if (isLetGo)
            reap();
    }

    void reap()
    {
        isReaped = true;
        groups->reap(id, fd);
    }

    pid_t const id;
    int const fd;
    asio::posix::stream_descriptor descriptor; // of fd
    std::shared_ptr<RunningGroups> groups;
    AsyncCondition waiting;
    std::optional<std::int32_t> status;
    bool isLetGo = false;
    bool isReaped = false;
};

class LinuxChildProcesses::Child final : public ChildProcess {
public:
    Child(Executor const& agent, std::shared_ptr<RunningGroups> groups, StartedChild started)
        : process(std::make_shared<Process>(agent, started.pid, std::move(started.pidFd), std::move(groups))),
          output(agent, std::move(started.output)), error(agent, std::move(started.error))
    {
        process->follow();
    }
    Child(Child const&) = delete;
    Child& operator=(Child const&) = delete;
    ~Child() override { process->letGo(); }

    std::int32_t pid() const override { return process->pid(); }
    bool isRunning() const override { return process->isRunning(); }
    bool isOutputHeld() const override { return output.isHeld() || error.isHeld(); }
    void signal(GroupSignal signal) override
    {
        process->signal(signal == GroupSignal::terminate ? SIGTERM : SIGKILL);
    }
    Task<std::int32_t> exit() override { return process->exit(); }

    Task<std::size_t> read(ChildStream stream, std::span<char> buffer) override
    {
        Stream& from = stream == ChildStream::output ? output : error;
        boost::system::error_code failure;
        std::size_t const count = co_await from.descriptor.async_read_some(
            asio::buffer(buffer.data(), buffer.size()), asio::redirect_error(asio::use_awaitable, failure));
        if (failure == asio::error::operation_aborted)
            throw boost::system::system_error(failure);
        co_return failure ? 0 : count;
    }

private:
    /// A reading end of a pipe.
    struct Stream {
        Stream(Executor const& agent, UniqueFd end) : fd(end.get()), descriptor(agent, fd)
        {
            end.release(); // Only now is it the other's.
        }

        bool isHeld() const { return !(eventsOf(fd) & POLLHUP); }

        int const fd;
        asio::posix::stream_descriptor descriptor; // of fd
    };

    std::shared_ptr<Process> process;
    Stream output;
    Stream error;
};

LinuxChildProcesses::LinuxChildProcesses(Contexts contexts)
    : contexts(std::move(contexts)), groups(std::make_shared<RunningGroups>())
{
    keepExitCodes();
}

LinuxChildProcesses::~LinuxChildProcesses() = default;

Task<std::unique_ptr<ChildProcess>> LinuxChildProcesses::launch(ChildLaunch launch)
{
    // On a worker, because a folder or program on a slow disk takes time.
    auto start = [groups = groups, launch = std::move(launch)] {
        groups->assertOpen();
        StartedChild started = startChild(launch);
        groups->add(started.pid);
        return started;
    };
    StartedChild started = co_await on(contexts.workers, std::move(start));
    co_return std::make_unique<Child>(contexts.agent, groups, std::move(started));
}

void LinuxChildProcesses::terminateAll()
{
    groups->terminateAll();
}

} // namespace zelvo
