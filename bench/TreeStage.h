#pragma once

#include "desktop/harness/PrivateDesktop.h"
#include "desktop/x11/LiveContexts.h"
#include "drivers/TreeWalk.h"
#include "platform/Accessibility.h"
#include "platform/linux/atspi/AtspiAccessibility.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/x11/X11DisplayLayout.h"

#include <cstdint>
#include <memory>
#include <string>

namespace zelvo {

/// The toolkit of a program with many elements, and how many of them are visible at once.
enum class TreeKind { gtkThirdShowing, gtkAllShowing, qt, chromium };

/// A private desktop with programs that show many elements.
class TreeStage {
public:
    TreeStage();
    ~TreeStage();

    /// Starts a program with about `count` elements and waits until all can be read; ends the one before.
    /// Returns its process id.
    std::int32_t show(TreeKind kind, int count);

    struct Reading {
        std::size_t elements = 0; ///< in the snapshot
        std::uint64_t messages = 0;
    };
    /// One walk through all windows of a process, with every attribute of every element.
    Reading walk(std::int32_t pid);

private:
    std::vector<std::string> commandFor(TreeKind kind, int count);
    void awaitElements(TreeKind kind, std::int32_t pid, int count);

    test::PrivateDesktop desktop{{.width = 1920, .height = 4800, .accessibility = true}}; // All buttons fit.
    test::LiveContexts live;
    std::unique_ptr<LinuxClock> clock;
    std::unique_ptr<BusConnection> session;
    std::shared_ptr<X11Connection> display;
    std::unique_ptr<X11DisplayLayout> layout;
    std::unique_ptr<AtspiAccessibility> accessibility;
    pid_t shown = 0;
};

} // namespace zelvo
