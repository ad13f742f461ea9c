#include "gateway/mcp/transport/StdioProgram.h"

#include "gateway/support/Becomes.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>

namespace zelvo::service {

namespace {

constexpr int stillRuns = 1000;

struct Pipe {
    Pipe()
    {
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
            std::abort();
    }
    std::array<int, 2> ends{};
};

} // namespace

StdioProgram::StdioProgram(std::vector<std::string> commandLine, std::string const& key)
{
    ::signal(SIGPIPE, SIG_IGN);
    std::vector<char*> raw;
    for (std::string& argument : commandLine)
        raw.push_back(argument.data());
    raw.push_back(nullptr);
    std::string variable = "ZELVO_API_KEY=" + key;
    std::string home = "HOME=/nonexistent";
    std::array<char*, 3> environment{home.data(), key.empty() ? nullptr : variable.data(), nullptr};
    Pipe const in;
    Pipe const out;
    Pipe const error;
    pid = ::fork();
    if (pid == 0) {
        ::dup2(in.ends[0], 0);
        ::dup2(out.ends[1], 1);
        ::dup2(error.ends[1], 2);
        ::execve(raw.front(), raw.data(), environment.data());
        ::_exit(127);
    }
    ::close(in.ends[0]);
    ::close(out.ends[1]);
    ::close(error.ends[1]);
    input = in.ends[1];
    output = out.ends[0];
    errorOutput = error.ends[0];
}

StdioProgram::~StdioProgram()
{
    if (!code)
        ::kill(pid, SIGKILL);
    wait();
    closeInput();
    closeOutput();
    ::close(errorOutput);
}

void StdioProgram::write(std::string const& text) const
{
    for (std::size_t done = 0; done < text.size();) {
        ssize_t const count = ::write(input, text.data() + done, text.size() - done);
        if (count <= 0)
            return;
        done += static_cast<std::size_t>(count);
    }
}

void StdioProgram::closeInput()
{
    if (input >= 0)
        ::close(std::exchange(input, -1));
}

void StdioProgram::closeOutput()
{
    if (output >= 0)
        ::close(std::exchange(output, -1));
}

bool StdioProgram::readMore()
{
    pollfd ready{.fd = output, .events = POLLIN, .revents = 0};
    if (::poll(&ready, 1, 10'000) <= 0)
        return false;
    std::array<char, 65536> piece{};
    ssize_t const count = ::read(output, piece.data(), piece.size());
    if (count <= 0)
        return false;
    read.append(piece.data(), static_cast<std::size_t>(count));
    return true;
}

std::string StdioProgram::readLine()
{
    std::size_t end = read.find('\n');
    while (end == std::string::npos) {
        if (!readMore())
            return "";
        end = read.find('\n');
    }
    std::string const line = read.substr(0, end);
    read.erase(0, end + 1);
    return line;
}

std::string StdioProgram::readToEnd()
{
    while (readMore()) {
    }
    return std::exchange(read, "");
}

std::string StdioProgram::errors()
{
    if (wait() == stillRuns)
        return "It still runs.";
    std::array<char, 4096> room{};
    ssize_t const count = ::read(errorOutput, room.data(), room.size());
    return {room.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

int StdioProgram::wait()
{
    int status = 0;
    if (!code && !becomes([&] { return ::waitpid(pid, &status, WNOHANG) == pid; }))
        return stillRuns;
    if (!code)
        code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return *code;
}

} // namespace zelvo::service
