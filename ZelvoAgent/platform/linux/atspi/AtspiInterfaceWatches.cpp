#include "platform/linux/atspi/AtspiInterfaceWatches.h"

#include "base/Hop.h"
#include "platform/linux/dbus/BusConnection.h"

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string_view>

namespace zelvo {

namespace {

constexpr Duration patience = 1s;
constexpr std::size_t maxSenders = 256;

struct Event {
    char const* name;      ///< as the registry knows it
    char const* interface; ///< of the signal
    char const* member;    ///< of the signal; null for all
    InterfaceChange change;
};

constexpr char const* objectEvents = "org.a11y.atspi.Event.Object";

constexpr std::array events = {
    Event{"object:children-changed", objectEvents, "ChildrenChanged", InterfaceChange::elements},
    Event{"object:state-changed", objectEvents, "StateChanged", InterfaceChange::elements},
    Event{"object:text-changed", objectEvents, "TextChanged", InterfaceChange::elements},
    Event{"object:property-change", objectEvents, "PropertyChange", InterfaceChange::elements},
    Event{"document:load-complete", "org.a11y.atspi.Event.Document", "LoadComplete",
          InterfaceChange::elements},
    Event{"window:", "org.a11y.atspi.Event.Window", nullptr, InterfaceChange::windows},
};

std::string ruleOf(Event const& event)
{
    std::string rule = std::string("type='signal',interface='") + event.interface + "'";
    return event.member ? rule + ",member='" + event.member + "'" : rule;
}

BusCall registration(Event const& event)
{
    return {.destination = "org.a11y.atspi.Registry",
            .path = "/org/a11y/atspi/registry",
            .interface = "org.a11y.atspi.Registry",
            .member = "RegisterEvent",
            .arguments =
                [name = event.name](sd_bus_message* message) {
                    sd_bus_message_append(message, "sass", name, 0, "");
                },
            .patience = patience,
            .mayStart = false};
}

BusCall processQuestion(std::string sender)
{
    return {.destination = "org.freedesktop.DBus",
            .path = "/org/freedesktop/DBus",
            .interface = "org.freedesktop.DBus",
            .member = "GetConnectionUnixProcessID",
            .arguments = [sender = std::move(sender)](sd_bus_message* message) {
                sd_bus_message_append(message, "s", sender.c_str());
            }};
}

/// The children of an application's root are its windows, and those of the registry's are the applications.
/// A new application reports its first window to nobody, because it does not know its listeners yet.
InterfaceChange kindOf(sd_bus_message* signal, InterfaceChange change)
{
    char const* const path = sd_bus_message_get_path(signal);
    bool const isRoots = path && std::string_view(path) == "/org/a11y/atspi/accessible/root" &&
                         sd_bus_message_is_signal(signal, objectEvents, "ChildrenChanged") > 0;
    return isRoots ? InterfaceChange::windows : change;
}

/// The connection of one watch. Callbacks hold it weakly: they may run once more after the watch's end.
class Listening : public std::enable_shared_from_this<Listening> {
public:
    Listening(Executor agent, Clock& clock, std::string const& address, InterfaceWatches::Changed changed)
        : changed(std::move(changed)), bus(std::move(agent), clock, [address] { return openBusAt(address); })
    {
    }

    Task<> start()
    {
        for (Event const& event : events)
            bus.watchSignal(ruleOf(event), [weak = weak_from_this(), change = event.change](auto* message) {
                if (auto const self = weak.lock())
                    self->note(sd_bus_message_get_sender(message), kindOf(message, change));
            });
        for (std::size_t at = 0; at + 1 < events.size(); ++at)
            bus.ask(registration(events[at]), {});
        co_await askFor(events.back()); // The registry answers in order.
    }

private:
    struct Sender {
        std::optional<std::int32_t> pid;
        InterfaceChange pending{}; ///< until its process is known
    };

    /// Waits for the answer. Without a registry there are no applications to ask.
    Task<> askFor(Event event)
    {
        BusCall call = registration(event);
        try {
            co_await bus.call(std::move(call));
        } catch (BusFailure const&) {
        }
    }

    void note(char const* name, InterfaceChange change)
    {
        if (!name || (senders.size() >= maxSenders && !senders.contains(name)))
            return;
        auto const [entry, isNew] = senders.try_emplace(name);
        Sender& sender = entry->second;
        if (sender.pid)
            return changed(*sender.pid, change);
        if (change == InterfaceChange::windows)
            sender.pending = change;
        if (isNew)
            identify(name);
    }

    void identify(std::string const& name)
    {
        auto onReply = [weak = weak_from_this(), name](sd_bus_message* reply) {
            auto const self = weak.lock();
            auto const pid = readUnsigned(reply);
            if (!self || !pid)
                return;
            Sender& sender = self->senders[name];
            sender.pid = static_cast<std::int32_t>(*pid);
            self->changed(*sender.pid, sender.pending);
        };
        bus.ask(processQuestion(name), std::move(onReply));
    }

    InterfaceWatches::Changed changed;
    std::map<std::string, Sender> senders; // by bus name; agent
    BusConnection bus;
};

class AtspiInterfaceWatch final : public InterfaceWatch {
public:
    explicit AtspiInterfaceWatch(std::shared_ptr<Listening> listening) : listening(std::move(listening)) {}

private:
    std::shared_ptr<Listening> listening; // Null if there is no bus.
};

} // namespace

Task<std::unique_ptr<InterfaceWatch>> AtspiInterfaceWatches::open(Changed changed)
{
    std::string const bus = co_await on(contexts.workers, [this] { return address(); });
    std::shared_ptr<Listening> listening;
    if (!bus.empty()) {
        listening = std::make_shared<Listening>(contexts.agent, clock, bus, std::move(changed));
        co_await listening->start();
    }
    co_return std::make_unique<AtspiInterfaceWatch>(std::move(listening));
}

} // namespace zelvo
