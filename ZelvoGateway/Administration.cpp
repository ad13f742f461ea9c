#include "ZelvoGateway/Administration.h"

#include "ZelvoGateway/Server.h"
#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/base/ServerClock.h"
#include "ZelvoGateway/console/ConsoleLock.h"
#include "ZelvoGateway/control/LinkService.h"
#include "ZelvoGateway/mcp/stdio/StdioBridge.h"
#include "ZelvoGateway/store/SqliteStore.h"

#include <boost/asio/io_context.hpp>

#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <ostream>
#include <thread>

namespace zelvo::service {

namespace {

/// Hundreds of machines and callers need more descriptors than the default of many systems.
void allowManyDescriptors()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

constexpr time_t patienceForEnd = 10; // Seconds; the server itself waits 5 for its connections.

/// Blocks the ending signals in this thread and in those that it starts, and stops the server on one. If the
/// server has not gone some time later, for instance because a disk no longer answers, the process ends
/// without it: the store survives that.
class EndBySignal {
public:
    EndBySignal()
    {
        sigemptyset(&signals);
        for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGUSR1})
            sigaddset(&signals, signal);
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    }
    EndBySignal(EndBySignal const&) = delete;
    EndBySignal& operator=(EndBySignal const&) = delete;
    ~EndBySignal()
    {
        if (!waiter.joinable())
            return;
        isOver = true;
        pthread_kill(waiter.native_handle(), SIGUSR1);
        waiter.join();
    }

    void watch(Server& server)
    {
        waiter = std::thread([this, &server] {
            int signal = 0;
            sigwait(&signals, &signal);
            if (isOver)
                return;
            server.stop();
            assertEndsSoon();
        });
    }

private:
    void assertEndsSoon() const
    {
        sigset_t woken{};
        sigemptyset(&woken);
        sigaddset(&woken, SIGUSR1);
        timespec const patience{.tv_sec = patienceForEnd, .tv_nsec = 0};
        while (!isOver && sigtimedwait(&woken, nullptr, &patience) < 0)
            if (errno == EAGAIN) {
                std::cerr << "zelvo-gateway: ended in spite of work that hangs" << std::endl;
                ::_exit(1);
            }
    }

    sigset_t signals{};
    std::atomic<bool> isOver = false; // The server is gone.
    std::thread waiter;
};

} // namespace

void provision(Flags const& flags, std::ostream& out)
{
    DataFolder const folder(flags.settings.dataFolder);
    SqliteStore store(folder.file("gateway.sqlite"));
    asio::io_context io;
    ServerClock clock(io.get_executor());
    AuditLog audit(store, clock, flags.settings.audit, io.get_executor());
    LinkService links(store, audit, flags.settings);
    auto const made = links.provision(Caller::console(), flags.endUserId);
    audit.flush();
    out << "machine " << made.machine.machineId << "\nconnection " << made.connectionId << "\n";
    if (!flags.connectionFile.empty())
        writePrivateFile(flags.connectionFile, made.connectionId + "\n");
    if (flags.tokenFile.empty())
        out << "token " << made.machine.token << "\n";
    else
        writePrivateFile(flags.tokenFile, made.machine.token);
}

void printConsoleLink(Flags const& flags, std::ostream& out)
{
    DataFolder const folder(flags.settings.dataFolder);
    auto address = folder.read("address");
    if (!address)
        throw std::runtime_error("no gateway is running on " + flags.settings.dataFolder);
    while (!address->empty() && address->back() == '\n')
        address->pop_back();
    SqliteStore store(folder.file("gateway.sqlite"));
    out << newConsoleLink(store, *address, flags.settings.consoleLinkLifetime) << "\n";
}

void serveMcpClient(Flags const& flags)
{
    std::signal(SIGPIPE, SIG_IGN);
    GatewayChoice const choice{.dataFolder = flags.settings.dataFolder,
                               .url = flags.gatewayUrl,
                               .keyFile = flags.keyFile,
                               .connection = flags.connections.empty() ? "" : flags.connections.front(),
                               .switches = flags.mcpSwitches};
    joinGateway(placeOf(choice), STDIN_FILENO, STDOUT_FILENO);
}

void serve(Flags const& flags, std::ostream& out)
{
    allowManyDescriptors();
    std::signal(SIGPIPE, SIG_IGN);
    EndBySignal end;
    Server server(flags.settings);
    if (!flags.portFile.empty())
        writePrivateFile(flags.portFile, std::to_string(server.port()) + "\n");
    out << "zelvo-gateway: listening on " << server.address() << std::endl;
    if (flags.printConsoleLink)
        out << "zelvo-gateway: console, once: " << server.newConsoleLink() << std::endl;
    end.watch(server);
    server.run();
    out << "zelvo-gateway: stopped" << std::endl;
}

} // namespace zelvo::service
