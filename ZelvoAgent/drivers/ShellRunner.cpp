#include "drivers/ShellRunner.h"

#include "base/Hop.h"
#include "base/Text.h"
#include "wire/AgentError.h"

#include <boost/asio/cancellation_state.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/this_coro.hpp>

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

constexpr std::size_t pieceBytes = 64UL * 1024;
/// Checking a text up to this length is faster than a hop to a worker.
constexpr std::size_t shortText = 64UL * 1024;

/// Counts as one running command while it exists.
class Place {
public:
    explicit Place(std::shared_ptr<int> taken) : running(std::move(taken)) { ++*running; }
    ~Place() { --*running; }
    Place(Place const&) = delete;
    Place& operator=(Place const&) = delete;

private:
    std::shared_ptr<int> running;
};

/// `now` plus some milliseconds; Instant::max() at most.
Instant after(Instant now, std::int64_t ms)
{
    auto const maxMs = std::chrono::floor<std::chrono::milliseconds>(Instant::max() - now).count();
    return now + std::chrono::milliseconds(std::clamp<std::int64_t>(ms, 0, maxMs));
}

ChildLaunch launchOf(std::string command,
                     std::optional<std::string> cwd,
                     std::optional<std::map<std::string, std::string>> env)
{
    return {.executable = "/bin/zsh",
            .arguments = {"-lc", std::move(command)},
            .directory = std::move(cwd),
            .environment = std::move(env).value_or(std::map<std::string, std::string>{})};
}

} // namespace

/// A running command, shared by its readers and its watchdog. Strand.
struct ShellRunner::Command {
    std::unique_ptr<ChildProcess> child;
    Instant start;
    bool timedOut = false;

    /// A background process that holds an output open still counts as the command.
    bool isOver() const { return !child->isRunning() && !child->isOutputHeld(); }
};

struct ShellRunner::Captured {
    std::string text;
    bool truncated = false;
};

ShellRunner::ShellRunner(Contexts contexts, Clock& clock, ChildProcesses& children, Limits limits)
    : strand(asio::make_strand(contexts.agent)), workers(contexts.workers), clock(clock), children(children),
      limits(limits)
{
}

Task<ShellRunResult> ShellRunner::run(std::string command,
                                      std::optional<std::string> cwd,
                                      std::int64_t timeoutMs,
                                      std::optional<std::map<std::string, std::string>> env)
{
    auto body = [this, launch = launchOf(std::move(command), std::move(cwd), std::move(env)), timeoutMs] {
        return runOnStrand(launch, timeoutMs);
    };
    co_return co_await runOn(strand, std::move(body));
}

Task<ShellRunResult> ShellRunner::runOnStrand(ChildLaunch launch, std::int64_t timeoutMs)
{
    // A command is followed to its end even if the caller is cancelled.
    co_await asio::this_coro::reset_cancellation_state(asio::disable_cancellation());
    if (*running >= limits.maxConcurrent)
        throw AgentError::machineBusy;
    Place const place(running);
    auto const command = std::make_shared<Command>();
    command->start = clock.now();
    command->child = co_await children.launch(std::move(launch));
    TaskHandle watchdog = spawn(strand, [this, command, timeoutMs] { return watch(command, timeoutMs); });
    ShellRunResult result = co_await collect(command);
    watchdog.cancel();
    co_return result;
}

Task<> ShellRunner::watch(std::shared_ptr<Command> command, std::int64_t timeoutMs)
{
    co_await clock.sleepUntil(after(clock.now(), timeoutMs));
    if (command->isOver())
        co_return;
    command->timedOut = true;
    command->child->signal(GroupSignal::terminate);
    co_await clock.sleep(limits.sigtermGrace);
    if (!command->isOver())
        command->child->signal(GroupSignal::kill);
}

Task<ShellRunResult> ShellRunner::collect(std::shared_ptr<Command> command)
{
    using namespace asio::experimental::awaitable_operators;
    auto [exitCode, output, error] = co_await (command->child->exit() && read(command, ChildStream::output) &&
                                               read(command, ChildStream::error));
    Duration const duration = clock.now() - command->start;
    co_return ShellRunResult{.exitCode = exitCode,
                             .standardOutput = std::move(output.text),
                             .standardError = std::move(error.text),
                             .durationMs =
                                 std::chrono::duration_cast<std::chrono::milliseconds>(duration).count(),
                             .truncated = output.truncated || error.truncated,
                             .timedOut = command->timedOut};
}

/// Keeps reading beyond the limit, because a command with a full pipe would block forever.
Task<ShellRunner::Captured> ShellRunner::read(std::shared_ptr<Command> command, ChildStream stream)
{
    Captured captured;
    std::string piece(pieceBytes, '\0');
    while (std::size_t const count = co_await command->child->read(stream, piece)) {
        std::size_t const room = limits.maxOutputBytes - captured.text.size();
        captured.text.append(piece, 0, std::min(count, room));
        captured.truncated = captured.text.size() >= limits.maxOutputBytes;
    }
    auto repair = [&captured] { return text::repaired(captured.text); };
    if (captured.text.size() <= shortText)
        captured.text = repair();
    else
        captured.text = co_await on(workers, repair);
    co_return captured;
}

} // namespace zelvo
