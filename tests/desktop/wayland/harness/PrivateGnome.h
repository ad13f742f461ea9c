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
    double scale = 1;   ///< 1.25, 1.5 and so on only where GNOME offers it for that size
    int quarters = 0;   ///< turns by 90 degrees against the clock
    bool isOff = false; ///< see arrange()
};

struct GnomeOptions {
    std::vector<GnomeMonitor> monitors = {{}};
    bool accessibility = false; ///< sets IsEnabled of org.a11y.Status, which starts the AT-SPI bus
    bool animations = false;
    bool pipewire = true; ///< also starts its session manager
    bool xwayland = false;
    std::vector<std::string> layouts = {};    ///< of the keyboard: "us"; the system's if there are none
    std::vector<std::string> extensions = {}; ///< UUIDs that are enabled; `prepare` installs them
    /// Runs before the shell starts; folders and the bus are ready.
    std::function<void(PrivateSession&)> prepare = {};
    Environment environment = {}; ///< in addition to the desktop's
};

/// A GNOME desktop without hardware: its shell, a session bus, an empty system bus, PipeWire. The overview is
/// closed, and the background has one colour. It starts in about two seconds. Throws std::runtime_error if
/// something is missing or does not start. Thread: the test's main thread.
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
    /// Scales, turns and lines up the monitors. Those that are off, or not among these, show nothing any
    /// more. main  which of them is the main one; it is not off
    void arrange(std::vector<GnomeMonitor> const& monitors, std::size_t main = 0);

private:
    void writeSettings(GnomeOptions const& options);
    void startShell(GnomeOptions const& options);

    pid_t shellProcess = 0;
};

} // namespace zelvo::test
