#include "desktop/harness/ChildProcesses.h"

#include "desktop/harness/WaitFor.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>

namespace zelvo::test {

namespace {

std::string contentOf(std::filesystem::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf(); // Not with iterators, which throw if the process ends meanwhile.
    return content.str();
}

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> raw;
    for (std::string& text : texts)
        raw.push_back(text.data());
    raw.push_back(nullptr);
    return raw;
}

/// The parent of a process; 0 if the process is gone.
pid_t parentOf(pid_t pid)
{
    std::string const stat = contentOf("/proc/" + std::to_string(pid) + "/stat");
    auto const name = stat.rfind(')');
    if (name == std::string::npos)
        return 0;
    return static_cast<pid_t>(std::strtol(stat.c_str() + std::min(stat.size(), name + 4), nullptr, 10));
}

std::vector<pid_t> allProcesses()
{
    std::vector<pid_t> pids;
    std::error_code ignored;
    for (auto const& entry : std::filesystem::directory_iterator("/proc", ignored)) {
        std::string const name = entry.path().filename();
        if (std::ranges::all_of(name, [](unsigned char c) { return std::isdigit(c); }))
            pids.push_back(static_cast<pid_t>(std::stol(name)));
    }
    return pids;
}

/// A process's state letter; 'Z' for a zombie.
char stateOf(pid_t pid)
{
    std::string const stat = contentOf("/proc/" + std::to_string(pid) + "/stat");
    auto const name = stat.rfind(')');
    return name == std::string::npos || name + 2 >= stat.size() ? '?' : stat[name + 2];
}

/// Reaps adopted orphans that have ended.
void reapOrphans()
{
    for (pid_t const pid : allProcesses())
        if (parentOf(pid) == ::getpid() && stateOf(pid) == 'Z')
            ::waitpid(pid, nullptr, WNOHANG);
}

bool descendsFromUs(pid_t pid)
{
    for (int depth = 0; pid > 1 && depth < 64; ++depth) {
        if (pid == ::getpid())
            return true;
        pid = parentOf(pid);
    }
    return false;
}

} // namespace

ChildProcesses::ChildProcesses(std::string mark, std::filesystem::path outputs)
    : mark(std::move(mark)), outputs(std::move(outputs))
{
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
}

ChildProcesses::~ChildProcesses()
{
    endAll();
}

pid_t ChildProcesses::start(std::vector<std::string> const& command,
                            Environment const& environment,
                            std::vector<int> const& inherited)
{
    std::vector<std::string> arguments = command;
    std::vector<std::string> settings;
    for (auto const& [name, value] : environment)
        settings.push_back(name + "=" + value);
    auto const argv = pointers(arguments);
    auto const envp = pointers(settings);
    auto const file = outputs / ("output-" + std::to_string(outputOf.size()));
    int failure[2];
    if (::pipe2(failure, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe");

    pid_t const parent = ::getpid();
    pid_t const pid = ::fork();
    if (pid == 0) {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent)
            ::_exit(127);
        sigset_t none;
        ::sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        int const input = ::open("/dev/null", O_RDONLY);
        int const written = ::open(file.c_str(), O_CREAT | O_WRONLY | O_APPEND, 0600);
        ::dup2(input, 0);
        ::dup2(written, 1);
        ::dup2(written, 2);
        // The child must not inherit the test's descriptors, for instance a display connection.
        for (int descriptor = 3; descriptor < 1024; ++descriptor) {
            bool const keep = std::ranges::find(inherited, descriptor) != inherited.end();
            if (descriptor != failure[1])
                ::fcntl(descriptor, F_SETFD, keep ? 0 : FD_CLOEXEC);
        }
        ::execvpe(argv[0], argv.data(), envp.data());
        int const reason = errno;
        [[maybe_unused]] auto const sent = ::write(failure[1], &reason, sizeof reason);
        ::_exit(127);
    }
    ::close(failure[1]);
    int reason = 0;
    bool const failed = pid < 0 || ::read(failure[0], &reason, sizeof reason) == sizeof reason;
    ::close(failure[0]);
    if (failed) {
        if (pid > 0)
            ::waitpid(pid, nullptr, 0);
        throw std::runtime_error("cannot start " + command.front() + ": " + std::strerror(reason));
    }
    outputOf[pid] = file;
    return pid;
}

bool ChildProcesses::reap(pid_t pid)
{
    if (ended.contains(pid))
        return true;
    int status = 0;
    pid_t const answer = ::waitpid(pid, &status, WNOHANG);
    if (answer == 0)
        return false;
    ended[pid] = answer == pid ? status : -1;
    return true;
}

bool ChildProcesses::isRunning(pid_t pid)
{
    return !reap(pid);
}

int ChildProcesses::end(pid_t pid, int firstSignal)
{
    if (reap(pid))
        return ended[pid];
    ::kill(-pid, firstSignal);
    ::kill(pid, firstSignal);
    if (!waitFor([&] { return reap(pid); }, 1s)) {
        ::kill(-pid, SIGKILL);
        waitFor([&] { return reap(pid); });
    }
    return ended.contains(pid) ? ended[pid] : -1;
}

int ChildProcesses::waitForEnd(pid_t pid, int seconds)
{
    if (!waitFor([&] { return reap(pid); }, std::chrono::seconds(seconds)))
        end(pid, SIGKILL);
    int const status = ended[pid];
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

std::string ChildProcesses::output(pid_t pid) const
{
    auto const found = outputOf.find(pid);
    return found == outputOf.end() ? std::string() : contentOf(found->second);
}

std::vector<pid_t> ChildProcesses::marked() const
{
    std::vector<pid_t> pids;
    for (pid_t const pid : allProcesses()) {
        if (pid == ::getpid())
            continue;
        std::string const settings = '\0' + contentOf("/proc/" + std::to_string(pid) + "/environ");
        if (settings.find('\0' + mark + '\0') != std::string::npos && descendsFromUs(pid))
            pids.push_back(pid);
    }
    return pids;
}

void ChildProcesses::endAll()
{
    std::set<pid_t> killed;
    auto const nothingIsLeft = [&] {
        for (pid_t const pid : marked()) {
            ::kill(pid, SIGKILL);
            killed.insert(pid);
        }
        for (auto const& [pid, file] : outputOf)
            reap(pid);
        reapOrphans();
        return std::ranges::all_of(killed, [](pid_t pid) { return stateOf(pid) == '?'; });
    };
    waitFor(nothingIsLeft, 5s);
}

} // namespace zelvo::test
