#pragma once

#include "desktop/harness/PrivateSession.h"
#include "desktop/wayland/portal/GnomePortal.h"

#include <memory>
#include <string>

namespace zelvo::test {

enum class Compositor { sway, kwin, gnome };

/// A private Wayland desktop with what the agent needs of it beside its program: portals, the extension, the
/// file for pictures. Nothing is granted yet. Thread: the test's main thread.
class WaylandMachine {
public:
    struct Size {
        int width;
        int height;
    };
    static constexpr int width = 1280; ///< of the only monitor, in points, unless another size is given
    static constexpr int height = 800;

    /// Why it cannot run here; empty if it can.
    static std::string missing(Compositor kind);

    explicit WaylandMachine(Compositor kind, Size size = {width, height});

    PrivateSession& session() { return *desktop; }
    /// Whether the person has to be asked: by KDE's portal, and by a backend of the tests on GNOME.
    bool asks() const { return kind != Compositor::sway; }
    /// Ends what the person granted, as the desktop's indicator does.
    /// milliseconds  from now; only GNOME can wait
    void withdraw(int milliseconds = 0);
    /// How often somebody has begun a session of the portals.
    std::size_t portalSessions();

private:
    void startSway();
    void startKwin();
    void startGnome();
    void watchPortals();

    Compositor const kind;
    Size const size;
    std::unique_ptr<GnomePortal> gnome;
    std::unique_ptr<PrivateSession> other;
    PrivateSession* desktop = nullptr;
    pid_t watcher = 0;
    pid_t frontEnd = 0; ///< of KDE's portals
};

} // namespace zelvo::test
