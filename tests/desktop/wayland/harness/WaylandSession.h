#pragma once

#include "desktop/harness/PrivateSession.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo::test {

/// What every private Wayland desktop needs beside its compositor. Thread: the test's main thread.
class WaylandSession : public PrivateSession {
public:
    using PrivateSession::PrivateSession;

    /// Starts the front end of the portals with one backend, after the compositor.
    /// backend  the end of the program's name in /usr/libexec ("gnome", "kde", "wlr"), or a program with an
    ///          absolute path, whose portal file is in XDG_DESKTOP_PORTAL_DIR
    /// extra    added to the environment of both
    void startPortal(std::string const& backend, Environment const& extra = {});
    /// 0 if it was not started.
    pid_t pipewire() const { return pipewireProcess; }

protected:
    /// A system bus without services, so that nothing reaches that of the machine.
    void startEmptySystemBus();
    void startPipewire();
    /// Programs that the bus starts get the environment of the desktop, too.
    void publishEnvironment();

private:
    pid_t pipewireProcess = 0;
};

/// Why such a desktop cannot run here: the first program that is not installed, and its package. `nullopt` if
/// all are. programs  pairs of a program and its package
std::optional<std::string> missingProgram(std::vector<std::pair<std::string, std::string>> const& programs);

} // namespace zelvo::test
