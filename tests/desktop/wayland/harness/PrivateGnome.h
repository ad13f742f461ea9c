#pragma once

#include "desktop/wayland/harness/WaylandSession.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::test {

/// A virtual monitor. They are placed from left to right; the first is the main one.
struct GnomeMonitor {
    int width = 1920; ///< in pixels
    int height = 1080;
    double scale = 1; ///< 1.25, 1.5 and so on only where GNOME offers it for that size
};

struct GnomeOptions {
    std::vector<GnomeMonitor> monitors = {{}};
    bool accessibility = false; ///< sets IsEnabled of org.a11y.Status, which starts the AT-SPI bus
    bool animations = false;
    bool pipewire = true; ///< also starts its session manager
    bool xwayland = false;
    std::vector<std::string> extensions = {}; ///< UUIDs that are enabled; `prepare` installs them
    /// Runs before the shell starts; folders and the bus are ready.
    std::function<void(PrivateSession&)> prepare = {};
    Environment environment = {}; ///< in addition to the desktop's
};

/// A GNOME desktop without hardware: its shell, a session bus, an empty system bus, PipeWire. The overview is
/// closed. It starts in about two seconds. Throws std::runtime_error if something is missing or does not
/// start. Thread: the test's main thread.
class PrivateGnome final : public WaylandSession {
public:
    /// Why it cannot run here; `nullopt` if it can.
    static std::optional<std::string> missing();

    explicit PrivateGnome(GnomeOptions options = {});
    ~PrivateGnome() override;

    pid_t shell() const { return shellProcess; }
    /// The major version of the shell: 43.
    int version();
    void setOverview(bool isOpen);
    bool isOverviewOpen();

private:
    void writeSettings(GnomeOptions const& options);
    void startShell(GnomeOptions const& options);
    void scaleMonitors(std::vector<GnomeMonitor> const& monitors);

    pid_t shellProcess = 0;
};

} // namespace zelvo::test
