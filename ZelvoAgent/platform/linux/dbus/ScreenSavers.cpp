#include "platform/linux/dbus/ScreenSavers.h"

namespace zelvo {

struct ScreenSavers::Saver {
    char const* name; ///< of the service and of its interface
    char const* path;
};

ScreenSavers::ScreenSavers(BusConnection& session, std::function<void(std::set<std::string>)> onChange)
    : session(session), onChange(std::move(onChange))
{
}

void ScreenSavers::start()
{
    static constexpr Saver savers[] = {{"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"},
                                       {"org.gnome.ScreenSaver", "/org/gnome/ScreenSaver"},
                                       {"org.xfce.ScreenSaver", "/org/xfce/ScreenSaver"},
                                       {"org.cinnamon.ScreenSaver", "/org/cinnamon/ScreenSaver"}};
    for (Saver const& saver : savers)
        follow(saver);
}

void ScreenSavers::follow(Saver const& saver)
{
    std::string const name = saver.name;
    session.watchSignal("type='signal',sender='" + name + "',interface='" + name + "',member='ActiveChanged'",
                        [weak = weak_from_this(), name](sd_bus_message* message) {
                            auto const self = weak.lock();
                            auto const isActive = readTruth(message);
                            if (self && isActive)
                                self->set(name, *isActive);
                        });
    session.watchName(name, [weak = weak_from_this(), &saver](std::string const& owner) {
        auto const self = weak.lock();
        if (!self)
            return;
        if (owner.empty())
            self->set(saver.name, false);
        else
            self->ask(saver);
    });
}

void ScreenSavers::ask(Saver const& saver)
{
    BusCall call{
        .destination = saver.name, .path = saver.path, .interface = saver.name, .member = "GetActive"};
    call.mayStart = false;
    session.ask(std::move(call), [weak = weak_from_this(), &saver](sd_bus_message* reply) {
        auto const self = weak.lock();
        auto const isActive = readTruth(reply);
        if (self && isActive)
            self->set(saver.name, *isActive);
    });
}

void ScreenSavers::set(std::string const& name, bool isActive)
{
    bool const isNew = isActive ? active.insert(name).second : active.erase(name) > 0;
    if (isNew)
        onChange(active);
}

} // namespace zelvo
