#pragma once

#include "desktop/harness/ChildProcesses.h"
#include "desktop/harness/WaitFor.h"

#include <cstdint>
#include <filesystem>
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
class PrivateDesktop {
public:
    explicit PrivateDesktop(DesktopOptions options = {});
    ~PrivateDesktop();
    PrivateDesktop(PrivateDesktop const&) = delete;
    PrivateDesktop& operator=(PrivateDesktop const&) = delete;

    /// The display's name, ":3".
    std::string const& display() const { return displayName; }
    std::filesystem::path const& home() const { return homeFolder; }
    std::filesystem::path configHome() const { return homeFolder / ".config"; }
    std::filesystem::path dataHome() const { return homeFolder / ".local" / "share"; }
    std::filesystem::path runtimeFolder() const { return root / "run"; }
    /// The environment of programs on this desktop.
    Environment const& environment() const { return settings; }
    /// Sets that environment in this process too, for code under test that reads it.
    void adoptEnvironment() const;

    /// Starts a program on the desktop. It ends with the desktop.
    /// extra  added to its environment
    pid_t start(std::vector<std::string> command, Environment extra = {}, std::vector<int> inherited = {});
    /// Runs a program to its end and returns its output. Throws if it fails or takes longer than `seconds`.
    std::string run(std::vector<std::string> command, int seconds = 10);
    ChildProcesses& processes() { return *children; }

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

    void makeFolders();
    void startServer(DesktopOptions const& options);
    void startBus();
    void startWindowManager();
    void enableAccessibility();

    std::filesystem::path root;
    std::filesystem::path homeFolder;
    std::string displayName;
    Environment settings;
    std::unique_ptr<ChildProcesses> children;
    pid_t server = 0;
    pid_t compositor = 0;
    std::unique_ptr<Connection> connection;
};

} // namespace zelvo::test
