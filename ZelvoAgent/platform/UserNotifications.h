#pragma once

#include <string>

namespace zelvo {

/// Short desktop messages that disappear by themselves. Best effort: failures are not reported. Thread: any;
/// does not wait.
/// Made by: platform/linux/dbus/LinuxNotifications, tests/fakes/FakeUserNotifications.
class UserNotifications {
public:
    virtual ~UserNotifications() = default;
    /// Shows plain texts at once, with the desktop's message sound.
    virtual void show(std::string title, std::string body) = 0;
};

} // namespace zelvo
