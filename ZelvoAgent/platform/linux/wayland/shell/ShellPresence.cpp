#include "platform/linux/wayland/shell/ShellPresence.h"

#include <boost/asio/dispatch.hpp>

#include <atomic>
#include <vector>

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
    std::vector<std::function<void()>> onPresent; // agent

    void set(bool now)
    {
        if (isPresent.exchange(now) != now)
            report();
    }
    /// It answered: the extension is a new one, which knows nothing of us yet.
    void appear()
    {
        set(true);
        for (auto const& act : onPresent)
            act();
    }
    void report() const
    {
        if (observer)
            observer();
    }
};

ShellPresence::ShellPresence(Executor agent, BusConnection& bus)
    : state(std::make_shared<State>()), agent(std::move(agent)), bus(bus)
{
}

void ShellPresence::start()
{
    auto const watch = [kept = state, &bus = bus] {
        BusCall call{.destination = "org.gnome.Shell",
                     .path = "/dev/zelvo/Shell",
                     .interface = "dev.zelvo.Shell",
                     .member = "Watch",
                     .mayStart = false};
        bus.ask(std::move(call), [kept](sd_bus_message*) { kept->appear(); }, [kept] { kept->set(false); });
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

void ShellPresence::whenPresent(std::function<void()> observer)
{
    asio::dispatch(agent, [kept = state, observer = std::move(observer)] {
        kept->onPresent.push_back(observer);
        if (kept->isPresent)
            observer();
    });
}

void ShellPresence::observe(std::function<void()> observer)
{
    state->observer = std::move(observer);
}

} // namespace zelvo
