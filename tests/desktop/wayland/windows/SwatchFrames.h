#pragma once

#include "desktop/applications/Applications.h"
#include "desktop/harness/PrivateSession.h"
#include "platform/ScreenSource.h"
#include "platform/linux/atspi/AtspiAccessibility.h"
#include "platform/linux/wayland/windows/CompositorWindows.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zelvo::test {

/// How a program of swatches is shown.
struct SwatchShowing {
    std::string name;
    Toolkit toolkit;
    double scale = 1;
    bool decorated = false; ///< draws its own frame, with a shadow
};

std::string nameOfShowing(testing::TestParamInfo<SwatchShowing> const& showing);
/// Each program of widgets, and of pages.
std::vector<SwatchShowing> widgetShowings();
std::vector<SwatchShowing> pageShowings();
/// The swatches that can be seen at once.
std::vector<std::string> seenSwatches(SwatchShowing const& showing);
inline std::vector<std::string> const swatchesInMenu = {"swatch ff8800", "swatch 0088ff", "swatch 88ff00",
                                                        "swatch ff0000"};

/// A program of plain colours on a compositor with one monitor: compares the places that its elements report
/// with the pixels there. Thread: the test's main thread.
class SwatchFrames {
public:
    struct Desktop {
        PrivateSession& session;
        Contexts contexts;
        Clock& clock;
        BusConnection& bus;
        WindowSource& windows;
        MonitorLayout layout;
        std::function<Picture()> picture; ///< of the monitor
    };
    /// What becomes of the swatches that a test does not ask for.
    enum class Others { areSeen, mayBeCovered };

    /// Switches accessibility on and starts the program.
    SwatchFrames(Desktop on, SwatchShowing showing);

    /// Expects that the wanted swatches get places, and that the places and the pixels agree.
    void settle(std::vector<std::string> const& wanted, Others others);
    /// Opens the program's menu as an agent does, without a press.
    void openMenu();

private:
    using Places = std::map<std::string, DesktopRect>;

    Places places();
    std::vector<std::string> misplaced(Places const& places) const;
    bool isDrawnAt(Picture const& picture, std::string const& name, DesktopPoint point) const;

    Desktop on;
    SwatchShowing showing;
    CompositorWindows windows;
    std::unique_ptr<AtspiAccessibility> accessibility;
    pid_t pid = 0;
};

} // namespace zelvo::test
