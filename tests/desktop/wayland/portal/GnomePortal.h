#pragma once

#include "desktop/wayland/harness/PrivateGnome.h"
#include "desktop/wayland/portal/ScriptedPortal.h"
#include "platform/linux/wayland/portal/PortalInput.h"

#include <memory>
#include <string>
#include <vector>

namespace zelvo::test {

/// GNOME with the real front end of the portals, and a backend whose dialog the test answers
/// (portal_backend.py); two monitors beside each other.
class GnomePortal {
public:
    /// interfaces  of the backend
    explicit GnomePortal(double scale = 1,
                         std::vector<std::string> interfaces = {"RemoteDesktop", "ScreenCast"});
    /// options  of the desktop; its monitors are not those of `layout` then
    explicit GnomePortal(GnomeOptions options);

    void answer(std::string const& how);
    void withdraw(int milliseconds);
    /// How many dialogs were opened so far.
    int dialogs();
    MonitorLayout layout() const;

    PrivateGnome gnome;

private:
    void startPortal(std::vector<std::string> const& interfaces);
    void control(std::string const& method, std::string const& argument);
    double const scale;
};

/// A full-screen GTK window on a monitor, and the events that it gets (gtk_listener.py).
class Listener {
public:
    /// Waits until the window is drawn. version  of GTK
    Listener(PrivateSession& desktop, int version, int monitor = 0);
    /// The lines written since the last call, joined by blanks and without motions.
    std::string news();
    std::string all() { return desktop.processes().output(pid); }

private:
    PrivateSession& desktop;
    pid_t pid;
    std::size_t seen = 0;
};

/// Input of a granted session.
struct PortalHands {
    PortalHands(PortalClient& client,
                MonitorLayout layout,
                std::function<std::optional<LogicalPoint>()> pointer = {});
    bool move(double x, double y) { return runToEnd(client.io, input->moveTo({x, y})); }
    bool button(int code, bool isDown) { return runToEnd(client.io, input->button(code, isDown)); }
    bool key(int code, bool isDown) { return runToEnd(client.io, input->key(code, isDown)); }
    bool tap(int code) { return key(code, true) && key(code, false); }
    bool scroll(int down, int right) { return runToEnd(client.io, input->scroll(down, right)); }
    void drain() { runToEnd(client.io, input->drained()); }

    PortalClient& client;
    std::unique_ptr<PortalInput> input;
};

} // namespace zelvo::test
