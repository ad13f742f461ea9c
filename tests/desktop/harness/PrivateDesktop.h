#pragma once

#include "desktop/harness/PrivateSession.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::test {

struct DesktopOptions {
    int width = 1920;
    int height = 1080;
    int dpi = 96;
    bool windowManager = true;  ///< openbox
    bool sessionBus = true;     ///< a private dbus-daemon
    bool accessibility = false; ///< sets IsEnabled of org.a11y.Status, which starts the AT-SPI bus
    std::vector<std::string> serverArguments = {}; ///< additional ones for Xvfb
    Environment environment = {};                  ///< in addition to the desktop's own
};

/// A search for a window; every given part must match.
struct WindowWanted {
    std::string title = {};     ///< a part of the title
    std::string className = {}; ///< the class or instance of WM_CLASS
};

/// A complete desktop for one test: an X server on a free display, a session bus, a window manager, new
/// folders. It starts in about half a second. The destructor ends all of its processes and removes its
/// folders. Throws std::runtime_error if something is missing or does not start. Thread: the test's main
/// thread.
class PrivateDesktop final : public PrivateSession {
public:
    explicit PrivateDesktop(DesktopOptions options = {});
    ~PrivateDesktop() override;
    PrivateDesktop(PrivateDesktop const&) = delete;
    PrivateDesktop& operator=(PrivateDesktop const&) = delete;

    /// The display's name, ":3".
    std::string const& display() const { return displayName; }

    /// The first matching window on the screen, searched in the whole tree; `nullopt` if there is none.
    std::optional<std::uint32_t> findWindow(WindowWanted wanted) const;
    /// Waits for such a window. Throws if it doesn't appear.
    std::uint32_t waitForWindow(WindowWanted wanted, std::chrono::milliseconds longest = 20s) const;
    /// The window manager's active window; 0 if there is none.
    std::uint32_t activeWindow() const;

    /// Starts a compositing manager (picom) and waits until it is active. False if the program isn't
    /// installed.
    bool startCompositor();
    void endCompositor();

private:
    struct Connection;

    void startServer(DesktopOptions const& options);
    void startWindowManager();

    std::string displayName;
    pid_t server = 0;
    pid_t compositor = 0;
    std::unique_ptr<Connection> connection;
};

} // namespace zelvo::test
