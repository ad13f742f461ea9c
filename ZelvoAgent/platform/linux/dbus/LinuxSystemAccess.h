#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/SystemAccess.h"
#include "platform/linux/dbus/BusConnection.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Facts of the X server; cheap, and safe on any thread.
struct DisplayFacts {
    std::function<bool()> isReachable;
    std::function<bool()> hasTestExtension; ///< XTEST
    std::function<bool()>
        isXwayland; ///< the extension XWAYLAND: its pictures and events are not the desktop's
    std::function<bool()> canCapture;                            ///< a screenshot would succeed
    std::function<std::vector<std::string>()> missingForCapture; ///< names of extensions, if it would not
};

/// What the display server gives, the accessibility bus aside; safe on any thread.
struct DesktopFacts {
    std::function<Permissions()> permissions; ///< cheap
    std::function<PermissionCauses()> causes; ///< may block
    std::function<void(PermissionCause::Kind)> request = {};
};

DesktopFacts desktopFacts(DisplayFacts display);

/// Accessibility: the AT-SPI bus answers, and the display server accepts input events. Screen recording: a
/// screenshot would succeed. Both only on an X server that is the desktop itself. A connection to the AT-SPI
/// bus stays open, so that its end is noticed at once.
class LinuxSystemAccess final : public SystemAccess {
public:
    /// The names of running applications that can be read only after a restart. May block.
    using UnreadableApplications = std::function<std::vector<std::string>()>;

    /// session  supplies the address of the AT-SPI bus and thereby starts it; must outlive this
    /// address  of the AT-SPI bus if it is known (AT_SPI_BUS_ADDRESS); the session bus is then not asked
    LinuxSystemAccess(Contexts const& contexts,
                      Clock& clock,
                      BusConnection& session,
                      DesktopFacts desktop,
                      std::optional<std::string> address,
                      UnreadableApplications unreadable = {});
    ~LinuxSystemAccess() override;

    Permissions current() override;
    PermissionCauses causes() override;
    void request(PermissionCause::Kind kind) override;
    boost::signals2::connection observe(std::function<void()> observer) override;
    /// An application has turned out to be unreadable, or the display server gives more or less than before.
    void noteChange();

private:
    class AccessibilityBus;
    std::shared_ptr<AccessibilityBus> accessibility;
    DesktopFacts desktop;
    UnreadableApplications unreadable;
};

} // namespace zelvo
