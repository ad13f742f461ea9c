#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/windows/DesktopSnapshot.h"
#include "platform/linux/x11/windows/X11WindowFocus.h"

#include <memory>
#include <string>

namespace zelvo {

class BusConnection;

/// Starts applications and brings them to the front. The looks at the desktop and the starting run on the
/// workers; between the looks nothing is held.
/// Thread: any.
class ApplicationOpener {
public:
    /// connection: not used when null; X11Workspace asks for nothing then. user: the session bus. All must
    /// outlive this.
    ApplicationOpener(Contexts contexts,
                      Clock& clock,
                      std::shared_ptr<X11Connection> connection,
                      DesktopEntries& entries,
                      X11WindowFocus& focus,
                      BusConnection& user);

    /// See Workspace::openApplication().
    Task<std::string> open(std::string location, Workspace::NotRunning notRunning, Instant deadline);

private:
    struct Target;
    Target lookFor(std::string const& location);
    Task<StartMarks> start(std::string entryFile, std::string id, Instant deadline);
    Task<bool> startByBus(std::string id, std::string startupId, Instant deadline);
    Task<> bringToFront(std::string location, StartMarks started, Instant deadline);

    Contexts contexts;
    Clock& clock;
    std::shared_ptr<X11Connection> connection;
    DesktopEntries& entries;
    X11WindowFocus& focus;
    BusConnection& user;
};

} // namespace zelvo
