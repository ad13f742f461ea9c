#include "platform/linux/wayland/shell/ShellPresence.h"

#include <atomic>

namespace zelvo {

namespace {

std::string signalRule(std::string const& member)
{
    return "type='signal',sender='org.gnome.Shell',path='/dev/zelvo/Shell',interface='dev.zelvo.Shell',"
           "member='" +
           member + "'";
}

} // namespace

struct ShellPresence::State {
    std::atomic<bool> isPresent = false;
    std::function<void()> observer;

    void set(bool now)
    {
        if (isPresent.exchange(now) != now)
            report();
    }
    void report() const
    {
        if (observer)
            observer();
    }
};

ShellPresence::ShellPresence(BusConnection& bus) : state(std::make_shared<State>()), bus(bus) {}

void ShellPresence::start()
{
    auto const watch = [kept = state, &bus = bus] {
        BusCall call{.destination = "org.gnome.Shell",
                     .path = "/dev/zelvo/Shell",
                     .interface = "dev.zelvo.Shell",
                     .member = "Watch",
                     .mayStart = false};
        bus.ask(std::move(call), [kept](sd_bus_message*) { kept->set(true); }, [kept] { kept->set(false); });
    };
    bus.watchSignal(signalRule("Ready"), [watch](sd_bus_message*) { watch(); });
    bus.watchSignal(signalRule("Gone"), [kept = state](sd_bus_message*) { kept->set(false); });
    bus.watchSignal(signalRule("Changed"), [kept = state](sd_bus_message*) { kept->report(); });
    bus.watchName("org.gnome.Shell", [kept = state, watch](std::string const& owner) {
        owner.empty() ? kept->set(false) : watch();
    });
}

bool ShellPresence::isPresent() const
{
    return state->isPresent;
}

void ShellPresence::observe(std::function<void()> observer)
{
    state->observer = std::move(observer);
}

} // namespace zelvo
