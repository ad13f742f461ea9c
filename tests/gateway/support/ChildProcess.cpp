#include "gateway/support/ChildProcess.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <sstream>

namespace zelvo::service {

ChildProcess::ChildProcess(std::vector<std::string> arguments, std::filesystem::path const& output)
{
    std::vector<char*> raw;
    for (std::string& argument : arguments)
        raw.push_back(argument.data());
    raw.push_back(nullptr);
    pid = ::fork();
    if (pid != 0)
        return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(::open("/dev/null", O_RDONLY), 0);
    int const file = ::open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    ::dup2(file, 1);
    ::dup2(file, 2);
    ::execvp(raw.front(), raw.data());
    ::_exit(127);
}

ChildProcess::~ChildProcess()
{
    if (pid > 0)
        ::kill(pid, SIGKILL);
    wait();
}

int ChildProcess::wait()
{
    if (pid > 0)
        ::waitpid(pid, &status, 0);
    pid = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool ChildProcess::runs()
{
    if (pid > 0 && ::waitpid(pid, &status, WNOHANG) == pid)
        pid = 0;
    return pid > 0;
}

bool ChildProcess::exists(std::string const& program)
{
    char const* const path = std::getenv("PATH");
    std::istringstream folders(path ? path : "/usr/bin");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (::access((folder + "/" + program).c_str(), X_OK) == 0)
            return true;
    return false;
}

std::uint16_t freePort()
{
    int const socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ::bind(socket, reinterpret_cast<sockaddr*>(&address), size);
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    ::close(socket);
    return ntohs(address.sin_port);
}

} // namespace zelvo::service
