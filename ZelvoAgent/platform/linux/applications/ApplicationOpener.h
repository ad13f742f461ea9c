#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/linux/applications/ApplicationWindows.h"
#include "platform/linux/applications/DesktopEntries.h"

#include <optional>
#include <string>

namespace zelvo {

class BusConnection;

/// Starts applications and brings them to the front. The looks at the desktop and the starting run on the
/// workers; between the looks nothing is held.
/// Thread: any.
class ApplicationOpener {
public:
    /// user  the session bus. All must outlive this.
    ApplicationOpener(Contexts contexts,
                      Clock& clock,
                      DesktopEntries& entries,
                      ApplicationWindows& windows,
                      BusConnection& user);

    /// See Workspace::openApplication().
    Task<std::string> open(std::string location, Workspace::NotRunning notRunning, Instant deadline);

private:
    struct Target {
        OpenableApplication found;
        std::optional<std::string> entryId; ///< none: nothing can start it
    };
    Target lookFor(std::string const& location);
    Task<StartMarks> start(std::string entryFile, std::string id, Instant deadline);
    Task<bool> startByBus(std::string id, std::string startupId, Instant deadline);
    Task<> bringToFront(std::string location, StartMarks started, Instant deadline);

    Contexts contexts;
    Clock& clock;
    DesktopEntries& entries;
    ApplicationWindows& windows;
    BusConnection& user;
};

} // namespace zelvo
