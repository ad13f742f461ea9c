#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/SingleInstance.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/dbus/InstanceSocket.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace zelvo {

/// Owns the bus name "dev.zelvo.agent" and exports org.freedesktop.Application at /dev/zelvo/agent. Without a
/// session bus, if it is silent for 2 s, or if another program has that name, uses a lock and a socket. An
/// instance on the bus serves that socket too, if the lock is free. URLs go only to a process that runs the
/// same program: they hold secrets, and any program can take a name. A later start waits up to 10 s for an
/// instance that is about to end.
class LinuxSingleInstance final : public SingleInstance {
public:
    /// open    opens the session bus
    /// folder  for the lock and the socket: lockFolder()
    LinuxSingleInstance(Contexts contexts,
                        Clock& clock,
                        BusConnection::Open open,
                        std::filesystem::path folder);
    ~LinuxSingleInstance() override;

    bool claim(std::vector<std::string> urls, Requests requests) override;

    /// $XDG_RUNTIME_DIR, else the settings folder.
    static std::filesystem::path lockFolder();

private:
    class Application;
    enum class Claim { mine, another, noName };
    Claim claimOnBus(std::vector<std::string> const& urls);
    bool claimInFolder(std::vector<std::string> const& urls);
    void serveOnBus(BusPtr made);
    void serveInFolder();

    Contexts contexts;
    Clock& clock;
    BusConnection::Open open;
    InstanceSocket socket;
    std::shared_ptr<Application> application;
    std::unique_ptr<BusConnection> bus;
};

} // namespace zelvo
