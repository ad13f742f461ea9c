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
    bool sessionBus = true;     ///< a dbus-daemon of its own
    bool accessibility = false; ///< sets IsEnabled of org.a11y.Status, which brings up the AT-SPI bus
    std::vector<std::string> serverArguments = {}; ///< further ones for Xvfb
    Environment environment = {};                  ///< over and above the desktop's own
};

/// What a window is looked for by; every part that is given must fit.
struct WindowWanted {
    std::string title = {};     ///< a part of the title
    std::string className = {}; ///< the class or instance of WM_CLASS
};

/// A whole desktop for one test: an X server of its own on a free display, a session bus, a window manager,
/// fresh folders. It comes up in about half a second. Everything in it has ended, and its folders are gone,
/// when this object is gone. Throws std::runtime_error when something is missing or doesn't come up. Thread:
/// the test's main thread.
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
    /// What a program on this desktop has in its environment.
    Environment const& environment() const { return settings; }
    /// Gives this process that environment too, for code under test that reads it.
    void adoptEnvironment() const;

    /// Starts a program on the desktop. It is ended with the desktop. extra: joins its environment.
    pid_t start(std::vector<std::string> command, Environment extra = {}, std::vector<int> inherited = {});
    /// Runs a program to its end and gives what it wrote. Throws when it fails or lasts longer than
    /// `seconds`.
    std::string run(std::vector<std::string> command, int seconds = 10);
    ChildProcesses& processes() { return *children; }

    /// The first window on the screen that fits, looked for in the whole tree; nothing when there is none.
    std::optional<std::uint32_t> findWindow(WindowWanted wanted) const;
    /// Waits for such a window to be on the screen. Throws when it doesn't come.
    std::uint32_t waitForWindow(WindowWanted wanted, std::chrono::milliseconds longest = 20s) const;
    /// The window that the window manager calls active; 0 when there is none.
    std::uint32_t activeWindow() const;

    /// Starts a compositing manager (picom) and waits until it has taken over. False when the program isn't
    /// installed.
    bool startCompositor();

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
    std::unique_ptr<Connection> connection;
};

} // namespace zelvo::test
