#include "platform/linux/tray/NotifierHost.h"

#include <string>

namespace zelvo {

namespace {

// The name under which every desktop offers it.
constexpr char const* watcher = "org.kde.StatusNotifierWatcher";
constexpr char const* path = "/StatusNotifierWatcher";
constexpr char const* properties = "org.freedesktop.DBus.Properties";

std::string signalRule(std::string const& interface, std::string const& member)
{
    return std::string("type='signal',sender='") + watcher + "',path='" + path + "',interface='" + interface +
           "',member='" + member + "'";
}

BusCall hostQuestion()
{
    return {.destination = watcher,
            .path = path,
            .interface = properties,
            .member = "Get",
            .arguments =
                [](sd_bus_message* message) {
                    sd_bus_message_append(message, "ss", watcher, "IsStatusNotifierHostRegistered");
                },
            .mayStart = false};
}

bool isTrueVariant(sd_bus_message* message)
{
    return sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, "b") > 0 &&
           readTruth(message) == true;
}

} // namespace

NotifierHost::NotifierHost(BusConnection& session, std::function<void(bool)> onChange)
    : session(session), onChange(std::move(onChange))
{
}

void NotifierHost::start()
{
    for (std::string const& rule :
         {signalRule(watcher, "StatusNotifierHostRegistered"),
          signalRule(watcher, "StatusNotifierHostUnregistered"), signalRule(properties, "PropertiesChanged")})
        session.watchSignal(rule, [weak = weak_from_this()](sd_bus_message*) {
            if (auto const self = weak.lock())
                self->ask();
        });
    session.watchName(watcher, [weak = weak_from_this()](std::string const& owner) {
        if (auto const self = weak.lock())
            self->takeWatcher(!owner.empty());
    });
}

void NotifierHost::takeWatcher(bool isThere)
{
    hasWatcher = isThere;
    ask();
}

void NotifierHost::ask()
{
    auto const question = ++questions;
    if (!hasWatcher)
        return set(false);
    auto answer = [weak = weak_from_this(), question](bool isRegistered) {
        if (auto const self = weak.lock(); self && self->questions == question)
            self->set(isRegistered);
    };
    session.ask(
        hostQuestion(), [answer](sd_bus_message* reply) { answer(isTrueVariant(reply)); },
        [answer] { answer(false); });
}

void NotifierHost::set(bool next)
{
    if (std::exchange(hasHost, next) != next)
        onChange(next);
}

} // namespace zelvo
