#pragma once

#include "desktop/harness/PrivateDesktop.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/x11/windows/X11WindowFocus.h"
#include "platform/linux/x11/windows/X11Workspace.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace zelvo::test {

/// A desktop whose applications can be opened, with the person's own entries.
class OpeningFixture : public testing::Test {
protected:
    OpeningFixture();
    ~OpeningFixture() override;

    /// An executable script on PATH.
    std::filesystem::path script(std::string const& name, std::string const& lines);
    /// A desktop entry of the person's; gives its location.
    std::string entry(std::string const& id, std::string const& lines);
    /// An entry whose application is an xterm of that class, and writes each of its starts down.
    std::string terminalEntry(std::string const& id);
    std::size_t startsOf(std::string const& id) const;

    std::string open(std::string const& location)
    {
        return live.run(workspace->openApplication(location, Workspace::NotRunning::isStarted, soon()));
    }
    Instant soon() const { return clock->now() + 5s; }
    /// What opening fails with; empty when it does not.
    std::string failureOf(std::string const& location);
    /// The identifier of the application in front.
    std::string front();
    RunningApplication running(std::string const& identifier);
    std::string contentOf(std::filesystem::path const& file) const;

    PrivateDesktop desktop;
    LiveContexts live;
    std::unique_ptr<LinuxClock> clock;
    std::unique_ptr<BusConnection> bus;
    std::shared_ptr<X11Connection> connection;
    std::unique_ptr<DesktopEntries> entries;
    std::unique_ptr<X11WindowFocus> focus;
    std::unique_ptr<ApplicationOpener> opener;
    std::unique_ptr<X11Workspace> workspace;
};

} // namespace zelvo::test
