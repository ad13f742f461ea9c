#pragma once

#include "platform/UserNotifications.h"
#include "platform/linux/dbus/BusConnection.h"

namespace zelvo {

/// The notification service of the desktop.
class LinuxNotifications final : public UserNotifications {
public:
    /// session  must outlive this
    explicit LinuxNotifications(BusConnection& session) : session(session) {}

    void show(std::string title, std::string body) override;

private:
    BusConnection& session;
};

} // namespace zelvo
