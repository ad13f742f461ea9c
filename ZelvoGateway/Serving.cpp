#include "ZelvoGateway/Administration.h"
#include "ZelvoGateway/Server.h"
#include "ZelvoGateway/ServiceSignals.h"
#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/base/ServiceManager.h"
#include "ZelvoGateway/base/SettingsChange.h"

#include <sys/resource.h>

#include <csignal>
#include <iostream>
#include <ostream>

namespace zelvo::service {

namespace {

/// From the end of the stop's own limit until the program ends for certain.
constexpr Duration patienceAtEnd = 15s;

/// Hundreds of machines and callers need more descriptors than the default of many systems.
void allowManyDescriptors()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

/// Gives a running server what its files say now. Thread: one, that of the signals.
class Reload {
public:
    Reload(Server& server, Flags const& started) : server(server), running(started.given), started(started) {}

    void operator()()
    {
        ServiceManager::reportReloading();
        server.reload(nextSettings(), [status = "Serving at " + server.address()](auto const& problems) {
            for (std::string const& problem : problems)
                Log::warning("not reloaded: " + problem);
            ServiceManager::reportReady(status);
        });
    }

private:
    /// nullopt if the settings stay as they are.
    std::optional<Settings> nextSettings()
    {
        FlagsReading const reading = readAgain(started);
        for (std::string const& problem : reading.problems)
            Log::warning("not reloaded: " + problem);
        if (!reading.problems.empty()) {
            Log::warning("the settings stay as they are");
            return std::nullopt;
        }
        SettingsChange const change = changeBetween(running, reading.flags.given);
        Log::info("reloaded" +
                  (change.isEmpty() ? ": nothing changed in the settings" : ": " + change.text()));
        running = takenFrom(std::move(running), reading.flags.given);
        return reading.flags.settings;
    }

    Server& server;
    GivenValues running; ///< what the server uses
    Flags const& started;
};

ServingWatch watchOf(Server const& server)
{
    return {.begins = [&server] { ServiceManager::reportReady("Serving at " + server.address()); },
            .beats = ServiceManager::reportAlive,
            .period = ServiceManager::watchdogPeriod()};
}

} // namespace

void serve(Flags const& flags, std::ostream& out)
{
    Log::use(flags.settings.log);
    allowManyDescriptors();
    std::signal(SIGPIPE, SIG_IGN);
    ServiceSignals signals;
    Server server(flags.settings);
    if (!flags.portFile.empty())
        writePrivateFile(flags.portFile, std::to_string(server.port()) + "\n");
    out << "zelvo-gateway: listening on " << server.address() << std::endl;
    if (flags.printConsoleLink)
        out << "zelvo-gateway: console, once: " << server.newConsoleLink() << std::endl;
    auto const stop = [&server, limit = flags.settings.stopTimeout + patienceAtEnd] {
        ServiceManager::reportStopping(limit);
        server.stop();
    };
    signals.watch({.stop = stop, .stopNow = [&server] { server.stopNow(); }, .reload = Reload(server, flags)},
                  flags.settings.stopTimeout);
    server.run(watchOf(server));
    signals.releaseHandlers();
    out << "zelvo-gateway: stopped" << std::endl;
}

} // namespace zelvo::service
