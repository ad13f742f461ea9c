#pragma once

#include "desktop/harness/PrivateSession.h"

#include <string>

namespace zelvo::test {

struct KwinOptions {
    int width = 1920; ///< of each output, in points
    int height = 1080;
    double scale = 1;
    int outputs = 1;       ///< "Virtual-0" and so on, from left to right
    bool isPainted = true; ///< without OpenGL: starts faster, but offers no pictures
    bool xwayland = false;
    std::string layouts = {}; ///< of the keyboard: "us,ru"; the system's if empty
    Environment environment = {};
};

/// KDE's compositor without a screen, with a session bus. It starts in half a second, or in two with OpenGL
/// in software. Throws std::runtime_error if something does not start. Thread: the test's main thread.
class PrivateKwin final : public PrivateSession {
public:
    /// Empty if it can run here; else what to install.
    static std::string missingPackage();

    /// The path of a program of this folder.
    static std::string program(std::string const& name);

    explicit PrivateKwin(KwinOptions options = {});
    ~PrivateKwin() override;
    PrivateKwin(PrivateKwin const&) = delete;
    PrivateKwin& operator=(PrivateKwin const&) = delete;

    /// The compositor's name on the bus.
    static constexpr char const* busName = "org.kde.KWin";

    /// Ends the compositor and starts it again on the same bus.
    void restart();
    /// Starts window.py, a program with plain windows.
    /// arguments  see there
    pid_t startWindow(std::vector<std::string> arguments, Environment extra = {});
    /// What makes GTK programs use Xwayland. Throws if there is none.
    Environment onXwayland();

private:
    void startCompositor();

    KwinOptions options;
    pid_t compositor = 0;
};

} // namespace zelvo::test
