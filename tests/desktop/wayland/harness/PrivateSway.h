#pragma once

#include "desktop/harness/PrivateSession.h"

#include <string>
#include <vector>

namespace zelvo::test {

/// An output of a private sway: HEADLESS-1, HEADLESS-2 and so on.
struct SwayOutput {
    int width = 1280; ///< pixels, before rotation
    int height = 800;
    double scale = 1;
    std::string transform = "normal"; ///< as in sway's configuration: "90", "flipped-270"
    int x = 0;                        ///< logical
    int y = 0;
};

struct SwayOptions {
    std::vector<SwayOutput> outputs = {{}};
    bool xwayland = false;
    bool sessionBus = false;
    std::string config = {}; ///< further lines of sway's configuration
    Environment environment = {};
};

/// A private sway without a screen. Its programs run as the test's user; sway itself, which refuses root, as
/// nobody then. Throws std::runtime_error if it does not start. Thread: the test's main thread.
class PrivateSway : public PrivateSession {
public:
    /// The reason why no sway can run here; empty if it can. For GTEST_SKIP.
    static std::string missing();
    explicit PrivateSway(SwayOptions const& options = {});

    /// Runs a command of sway, as swaymsg does. Throws if it fails.
    void command(std::string const& text);
    /// The reply to a question: "get_tree", "get_outputs", as JSON.
    std::string ask(std::string const& question);
    /// The command as the user that sway runs as: Xwayland accepts no other.
    static std::vector<std::string> asUserOfCompositor(std::vector<std::string> command);
    std::filesystem::path socket() const { return runtimeFolder() / settings.at("WAYLAND_DISPLAY"); }
    pid_t compositor() const { return sway; }
    /// Ends the compositor, as a crash would.
    void kill();

private:
    std::filesystem::path writeConfig(SwayOptions const& options);
    void openFolders();

    pid_t sway = 0;
};

} // namespace zelvo::test
