#pragma once

#include "desktop/harness/PrivateDesktop.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/x11/windows/X11ApplicationWindows.h"
#include "platform/linux/x11/windows/X11WindowFocus.h"
#include "platform/linux/x11/windows/X11Workspace.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace zelvo::test {

/// A desktop whose applications can be opened, with the user's own entries.
class OpeningFixture : public testing::Test {
protected:
    OpeningFixture();
    ~OpeningFixture() override;

    /// An executable script on PATH.
    std::filesystem::path script(std::string const& name, std::string const& lines);
    /// Writes a desktop entry for the user; returns its path.
    std::string entry(std::string const& id, std::string const& lines);
    /// An entry whose application is an xterm of this class that records each start.
    std::string terminalEntry(std::string const& id);
    std::size_t startsOf(std::string const& id) const;

    std::string open(std::string const& location)
    {
        return live.run(workspace->openApplication(location, Workspace::NotRunning::isStarted, soon()));
    }
    Instant soon() const { return clock->now() + 5s; }
    /// The error of opening; empty if it succeeds.
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
    std::unique_ptr<X11ApplicationWindows> windows;
    std::unique_ptr<ApplicationOpener> opener;
    std::unique_ptr<X11Workspace> workspace;
};

} // namespace zelvo::test
