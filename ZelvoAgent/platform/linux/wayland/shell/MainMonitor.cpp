#include "platform/linux/wayland/shell/MainMonitor.h"

#include <optional>
#include <utility>

namespace zelvo {

namespace {

constexpr char const* service = "org.gnome.Mutter.DisplayConfig";
constexpr char const* path = "/org/gnome/Mutter/DisplayConfig";
constexpr std::uint64_t patience = 500'000; // microseconds

std::string askNow()
{
    BusPtr const bus = openSessionBus();
    sd_bus_message* raw = nullptr;
    if (!bus ||
        sd_bus_message_new_method_call(bus.get(), &raw, service, path, service, "GetCurrentState") < 0)
        return {};
    BusMessagePtr const call(raw);
    sd_bus_message_set_auto_start(call.get(), 0);
    sd_bus_message* answer = nullptr;
    if (sd_bus_call(bus.get(), call.get(), patience, nullptr, &answer) < 0)
        return {};
    BusMessagePtr const reply(answer);
    return readMainMonitor(reply.get());
}

/// The connector of the first output of a logical monitor, which may have several that show the same.
bool readOutputs(sd_bus_message* message, std::string& connector)
{
    if (sd_bus_message_enter_container(message, 'a', "(ssss)") <= 0)
        return false;
    while (sd_bus_message_enter_container(message, 'r', "ssss") > 0) {
        char const* name = nullptr;
        if (sd_bus_message_read(message, "s", &name) <= 0 || sd_bus_message_skip(message, "sss") < 0)
            return false;
        if (connector.empty())
            connector = name;
        sd_bus_message_exit_container(message);
    }
    return sd_bus_message_exit_container(message) >= 0;
}

struct LogicalMonitor {
    bool isMain = false;
    std::string connector;
};

std::optional<LogicalMonitor> readLogicalMonitor(sd_bus_message* message)
{
    LogicalMonitor monitor;
    int isMain = 0;
    if (sd_bus_message_skip(message, "iidu") < 0 || sd_bus_message_read(message, "b", &isMain) <= 0 ||
        !readOutputs(message, monitor.connector) || sd_bus_message_skip(message, "a{sv}") < 0)
        return std::nullopt;
    monitor.isMain = isMain != 0;
    return monitor;
}

} // namespace

std::string readMainMonitor(sd_bus_message* message)
{
    constexpr char const* logical = "iiduba(ssss)a{sv}";
    if (sd_bus_message_skip(message, "ua((ssss)a(siiddada{sv})a{sv})") < 0 ||
        sd_bus_message_enter_container(message, 'a', "(iiduba(ssss)a{sv})") <= 0)
        return {};
    while (sd_bus_message_enter_container(message, 'r', logical) > 0) {
        auto const monitor = readLogicalMonitor(message);
        if (!monitor || sd_bus_message_exit_container(message) < 0)
            return {};
        if (monitor->isMain)
            return monitor->connector;
    }
    return {};
}

MainMonitor::MainMonitor(BusConnection& bus)
{
    state->name.set(askNow());
    auto const take = [kept = state](sd_bus_message* message) {
        std::string name = readMainMonitor(message);
        if (name == kept->name.get())
            return;
        kept->name.set(std::move(name));
        if (auto const changed = kept->changed.get())
            changed();
    };
    auto const ask = [take, &bus] {
        bus.ask({.destination = service,
                 .path = path,
                 .interface = service,
                 .member = "GetCurrentState",
                 .mayStart = false},
                take);
    };
    bus.watchSignal(std::string("type='signal',sender='") + service + "',path='" + path + "',interface='" +
                        service + "',member='MonitorsChanged'",
                    [ask](sd_bus_message*) { ask(); });
    // Asks again after the signal is followed, so that no change in between is missed.
    bus.watchName(service, [ask](std::string const& owner) {
        if (!owner.empty())
            ask();
    });
}

void MainMonitor::observe(std::function<void()> observer)
{
    state->changed.set(std::move(observer));
}

} // namespace zelvo
