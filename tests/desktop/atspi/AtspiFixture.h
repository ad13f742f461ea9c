#pragma once

#include "desktop/atspi/TreeWalk.h"
#include "desktop/harness/PrivateDesktop.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/atspi/AtspiAccessibility.h"
#include "platform/linux/atspi/AtspiReader.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/x11/X11Connection.h"

#include <boost/json/object.hpp>

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace zelvo::test {

/// A process that serves a scripted tree.
struct ScriptedProcess {
    pid_t pid = 0;
    std::filesystem::path record;

    /// The calls it has received, as "element member property".
    std::vector<std::string> calls() const;
    /// The number of calls that begin with this text.
    std::size_t count(std::string const& beginning) const;
    /// The number of calls of this member.
    std::size_t countOf(std::string const& member) const;
};

/// The applications on the display; null means none.
AtspiScreen screenOf(std::shared_ptr<X11Connection> display);

/// A private desktop with an accessibility bus and the reader under test.
class AtspiFixture {
public:
    enum class Screen { unknown, known };

    /// screen  do readers know where windows are?
    explicit AtspiFixture(DesktopOptions options = {.windowManager = false, .accessibility = true},
                          Screen screen = Screen::unknown);
    ~AtspiFixture();

    /// Starts a scripted application: {"tree": .., "delay": ..}; see ScriptedTree.h.
    ScriptedProcess serve(boost::json::object script);
    /// An application with one window that holds these elements.
    ScriptedProcess serveWindow(boost::json::array children, boost::json::object manners = {});

    PrivateDesktop desktop;
    LiveContexts live;
    std::unique_ptr<LinuxClock> clock;
    std::unique_ptr<BusConnection> session;
    std::atomic<int> unreadable = 0; ///< how often the reader has found another unreadable process
    std::unique_ptr<AtspiAccessibility> accessibility;

    std::unique_ptr<AtspiReader> reader(ScriptedProcess const& process, Duration patience = 250ms) const
    {
        return accessibility->atspiReader(process.pid, patience);
    }
    Walk walk(AtspiReader& reader, WalkOptions const& options = {}) const
    {
        return walkWindows(reader, *clock, options);
    }

private:
    int scripts = 0;
};

} // namespace zelvo::test
