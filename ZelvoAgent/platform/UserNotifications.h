#pragma once

#include <string>

namespace zelvo {

/// Short messages of the desktop that come and go by themselves. Best effort: nobody learns whether one was
/// shown. Thread: any; does not wait.
/// Made by: platform/linux/dbus/LinuxNotifications, tests/fakes/FakeUserNotifications.
class UserNotifications {
public:
    virtual ~UserNotifications() = default;
    /// Shows plain texts at once, with the desktop's sound for messages.
    virtual void show(std::string title, std::string body) = 0;
};

} // namespace zelvo
