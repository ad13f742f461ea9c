#pragma once

#include "platform/linux/dbus/BusConnection.h"

#include <functional>
#include <memory>
#include <set>
#include <string>

namespace zelvo {

/// Follows the screen savers of the session bus: freedesktop, GNOME, Xfce, Cinnamon. Never starts one.
/// Thread: agent.
class ScreenSavers : public std::enable_shared_from_this<ScreenSavers> {
public:
    /// onChange  receives the bus names of the active ones
    ScreenSavers(BusConnection& session, std::function<void(std::set<std::string>)> onChange);
    void start();

private:
    struct Saver;
    void follow(Saver const& saver);
    void ask(Saver const& saver);
    void set(std::string const& name, bool isActive);

    BusConnection& session;
    std::function<void(std::set<std::string>)> onChange;
    std::set<std::string> active;
};

} // namespace zelvo
