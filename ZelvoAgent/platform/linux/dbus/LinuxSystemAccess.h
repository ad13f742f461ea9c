#pragma once

#include "base/Clock.h"
#include "platform/SystemAccess.h"
#include "platform/linux/dbus/BusConnection.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Facts of the X server; cheap, and safe on any thread.
struct DisplayFacts {
    std::function<bool()> isReachable;
    std::function<bool()> hasTestExtension; ///< XTEST
    std::function<bool()>
        isXwayland; ///< the extension XWAYLAND: its pictures and events are not the desktop's
    std::function<bool()> canCapture; ///< a screenshot would succeed
};

/// Accessibility: the AT-SPI bus answers, and X accepts input events. Screen recording: a screenshot would
/// succeed. Both only on an X server that is the desktop itself. A connection to the AT-SPI bus stays open,
/// so that its end is noticed at once.
class LinuxSystemAccess final : public SystemAccess {
public:
    /// session  supplies the address of the AT-SPI bus and thereby starts it; must outlive this
    /// address  of the AT-SPI bus if it is known (AT_SPI_BUS_ADDRESS); the session bus is then not asked
    LinuxSystemAccess(Executor agent,
                      Clock& clock,
                      BusConnection& session,
                      DisplayFacts display,
                      std::optional<std::string> address);
    ~LinuxSystemAccess() override;

    Permissions current() override;

private:
    class AccessibilityBus;
    std::shared_ptr<AccessibilityBus> accessibility;
    DisplayFacts display;
};

} // namespace zelvo
