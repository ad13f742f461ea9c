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

/// The bus name "dev.zelvo.agent" with org.freedesktop.Application at /dev/zelvo/agent; where there is no
/// session bus, or it does not answer for 2 s, a lock and a socket.
class LinuxSingleInstance final : public SingleInstance {
public:
    /// open    makes the session bus
    /// folder  of the lock and the socket: lockFolder()
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
    enum class Claim { mine, another, noBus };
    Claim claimOnBus(std::vector<std::string> const& urls);
    bool claimInFolder(std::vector<std::string> const& urls);
    void serveOnBus(BusPtr made);

    Contexts contexts;
    Clock& clock;
    BusConnection::Open open;
    InstanceSocket socket;
    std::shared_ptr<Application> application;
    std::unique_ptr<BusConnection> bus;
};

} // namespace zelvo
