#include "platform/linux/system/ChildStart.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>
#include <utility>

// The C library's clone() under its other name: the thread sanitizer replaces the first with a version that
// does not support a child sharing its memory.
extern "C" int
cloneOfTheSystem(int (*body)(void*), void* stack, int flags, void* argument, ...) asm("__clone");

namespace zelvo {

namespace {

constexpr std::size_t stackBytes = 64UL * 1024;
constexpr int lastSignal = 64;
/// Between clone() and execve() the child shares our memory with our other threads: it may make system calls
/// and nothing else, not even those that a sanitizer adds.
#define ZELVO_IN_CHILD __attribute__((no_sanitize("address", "thread", "undefined"), no_stack_protector))

/// In the kernel's layout; the C library hides two signals.
struct KernelSignalAction {
    void (*handler)(int) = SIG_DFL;
    unsigned long flags = 0;
    void (*restorer)() = nullptr;
    unsigned long mask = 0;
};

/// Everything that the child needs, prepared before it exists.
struct ChildPlan {
    char const* executable = nullptr;
    char* const* arguments = nullptr;
    char* const* environment = nullptr;
    int directory = -1; ///< an open folder; -1 to stay
    int input = -1;
    int output = -1; ///< all three at least 3, so that none overwrites another
    int error = -1;
    int failure = 0; ///< set by the child: the errno of what did not work
};

LaunchFailure failureOf(std::string const& what, int code)
{
    return LaunchFailure(what + ": " + std::generic_category().message(code));
}

ZELVO_IN_CHILD void resetSignals()
{
    KernelSignalAction const standard;
    for (int number = 1; number <= lastSignal;
         ++number) // Fails for SIGKILL and SIGSTOP, which need no reset.
        ::syscall(SYS_rt_sigaction, number, &standard, nullptr, sizeof standard.mask);
    unsigned long const none = 0;
    ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, &none, nullptr, sizeof none);
}

ZELVO_IN_CHILD bool wireUp(ChildPlan const& plan)
{
    // A new session is also a new group and has no terminal: a program that asks for a password there fails
    // at once instead of being stopped.
    return ::syscall(SYS_setsid) >= 0 && (plan.directory < 0 || ::syscall(SYS_fchdir, plan.directory) == 0) &&
           ::syscall(SYS_dup3, plan.input, 0, 0) >= 0 && ::syscall(SYS_dup3, plan.output, 1, 0) >= 0 &&
           ::syscall(SYS_dup3, plan.error, 2, 0) >= 0 && ::syscall(SYS_close_range, 3U, ~0U, 0U) == 0;
}

ZELVO_IN_CHILD int runChild(void* argument)
{
    auto& plan = *static_cast<ChildPlan*>(argument);
    resetSignals();
    if (wireUp(plan))
        ::syscall(SYS_execve, plan.executable, plan.arguments, plan.environment);
    plan.failure = errno;
    ::syscall(SYS_exit_group, 127);
    return 0;
}

void assertWithoutNul(std::string_view text, char const* what)
{
    if (text.find('\0') != std::string_view::npos)
        throw LaunchFailure(std::string("There is a NUL in ") + what);
}

void assertSound(ChildLaunch const& launch)
{
    assertWithoutNul(launch.executable, "the program's path");
    for (std::string const& argument : launch.arguments)
        assertWithoutNul(argument, "an argument");
    if (launch.directory)
        assertWithoutNul(*launch.directory, "the folder's path");
    for (auto const& [name, value] : launch.environment) {
        assertWithoutNul(name, "the name of a variable");
        assertWithoutNul(value, "the value of a variable");
        if (name.empty() || name.find('=') != std::string::npos)
            throw LaunchFailure("The name of a variable is empty or has a '=' in it");
    }
}

/// In the form that execve() takes.
std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> mergedEnvironment(std::map<std::string, std::string> const& added)
{
    std::vector<std::string> entries;
    for (char** entry = environ; entry && *entry; ++entry) {
        std::string_view const text(*entry);
        if (!added.contains(std::string(text.substr(0, text.find('=')))))
            entries.emplace_back(text);
    }
    for (auto const& [name, value] : added)
        entries.push_back(name + "=" + value);
    return entries;
}

UniqueFd openFolder(std::string const& path)
{
    UniqueFd folder(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
        throw failureOf("The folder cannot be entered", errno);
    return folder;
}

/// The descriptor itself, or a copy above the three standard ones. Those can be free in a program that was
/// started without them.
UniqueFd aboveStandard(int raw)
{
    UniqueFd descriptor(raw);
    if (descriptor && descriptor.get() <= 2)
        descriptor.reset(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, 3));
    if (!descriptor)
        throw failureOf("No descriptor for the program", errno);
    return descriptor;
}

struct Pipe {
    UniqueFd reading;
    UniqueFd writing;
};

Pipe makePipe()
{
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw failureOf("No pipe for the program", errno);
    UniqueFd reading(ends[0]);
    UniqueFd writing = aboveStandard(ends[1]);
    return {.reading = std::move(reading), .writing = std::move(writing)};
}

/// Blocks every signal on this thread: none of our handlers may run in the child, which shares our memory.
class BlockedSignals {
public:
    BlockedSignals()
    {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_BLOCK, &all, &before);
    }
    ~BlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    BlockedSignals(BlockedSignals const&) = delete;
    BlockedSignals& operator=(BlockedSignals const&) = delete;

private:
    sigset_t before{};
};

/// The child's stack until execve().
class ChildStack {
public:
    ChildStack()
        : memory(::mmap(
              nullptr, stackBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0))
    {
        if (memory == MAP_FAILED)
            throw failureOf("No memory for the program", errno);
    }
    ~ChildStack() { ::munmap(memory, stackBytes); }
    ChildStack(ChildStack const&) = delete;
    ChildStack& operator=(ChildStack const&) = delete;

    void* top() const { return static_cast<char*>(memory) + stackBytes; }

private:
    void* memory;
};

void reap(int pidFd)
{
    siginfo_t facts{};
    while (::waitid(P_PIDFD, static_cast<id_t>(pidFd), &facts, WEXITED) != 0 && errno == EINTR) {
    }
}

/// Returns when the child has become the program or has failed. The same call creates the descriptor, so a
/// lack of descriptors shows before anything runs.
void bringUp(ChildPlan& plan, StartedChild& child)
{
    ChildStack const stack;
    int pidFd = -1;
    {
        BlockedSignals const blocked;
        child.pid = cloneOfTheSystem(&runChild, stack.top(), CLONE_VM | CLONE_VFORK | CLONE_PIDFD | SIGCHLD,
                                     &plan, &pidFd);
        if (child.pid < 0)
            throw failureOf("The system starts no more programs", errno);
    }
    child.pidFd.reset(pidFd);
    if (plan.failure == 0)
        return;
    reap(pidFd); // It ends at once.
    throw failureOf("The program cannot be started", plan.failure);
}

} // namespace

StartedChild startChild(ChildLaunch const& launch)
{
    assertSound(launch);
    std::vector<std::string> words{launch.executable};
    words.insert(words.end(), launch.arguments.begin(), launch.arguments.end());
    std::vector<std::string> variables = mergedEnvironment(launch.environment);
    std::vector<char*> const arguments = pointersTo(words);
    std::vector<char*> const environment = pointersTo(variables);
    UniqueFd const folder = launch.directory ? openFolder(*launch.directory) : UniqueFd();
    UniqueFd const input = aboveStandard(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    Pipe output = makePipe();
    Pipe error = makePipe();
    ChildPlan plan{.executable = launch.executable.c_str(),
                   .arguments = arguments.data(),
                   .environment = environment.data(),
                   .directory = folder.get(),
                   .input = input.get(),
                   .output = output.writing.get(),
                   .error = error.writing.get()};
    StartedChild child;
    child.output = std::move(output.reading);
    child.error = std::move(error.reading);
    bringUp(plan, child);
    return child;
}

} // namespace zelvo
