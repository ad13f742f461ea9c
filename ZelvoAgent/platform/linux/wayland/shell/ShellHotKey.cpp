#include "platform/linux/wayland/shell/ShellHotKey.h"

#include <boost/asio/post.hpp>

namespace zelvo {

ShellHotKey::ShellHotKey(Executor main, BusConnection& bus, ShellPresence& presence)
    : main(std::move(main)), bus(bus), presence(presence)
{
}

void ShellHotKey::start(std::function<void()> onPressed)
{
    char const* const rule = "type='signal',sender='org.gnome.Shell',path='/dev/zelvo/Shell',"
                             "interface='dev.zelvo.Shell',member='KeyPressed'";
    bus.watchSignal(rule, [main = main, onPressed = std::move(onPressed)](sd_bus_message*) {
        asio::post(main, onPressed);
    });
    presence.whenPresent([&bus = bus, grabbed = grabbed] {
        BusCall call{.destination = "org.gnome.Shell",
                     .path = "/dev/zelvo/Shell",
                     .interface = "dev.zelvo.Shell",
                     .member = "GrabKey",
                     .mayStart = false};
        bus.ask(
            std::move(call),
            [grabbed](sd_bus_message* reply) { *grabbed = readTruth(reply).value_or(false); },
            [grabbed] { *grabbed = false; });
    });
}

} // namespace zelvo
