#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace zelvo {

template <auto release>
struct ReleaseBus {
    template <class T>
    void operator()(T* raw) const noexcept
    {
        release(raw);
    }
};
/// Closes the connection, unsent messages and all.
using BusPtr = std::unique_ptr<sd_bus, ReleaseBus<sd_bus_close_unref>>;
using BusMessagePtr = std::unique_ptr<sd_bus_message, ReleaseBus<sd_bus_message_unref>>;
/// Ends what the slot stands for: a match, an object, a call that waits for its answer.
using BusSlotPtr = std::unique_ptr<sd_bus_slot, ReleaseBus<sd_bus_slot_unref>>;

/// The person's bus, the machine's, or the one at an address. Does not wait; nothing when there is none.
BusPtr openSessionBus();
BusPtr openSystemBus();
BusPtr openBusAt(std::string const& address);

/// A property's value, as far as it is of a simple type.
using BusValue = std::variant<std::monostate, bool, std::int64_t, double, std::string>;
using BusDictionary = std::map<std::string, BusValue>;

/// Readers of a message's next argument; nothing, and the message stays where it was, when it is of another
/// type.
std::optional<std::string> readText(sd_bus_message* message);
std::optional<bool> readTruth(sd_bus_message* message);
std::optional<std::uint32_t> readUnsigned(sd_bus_message* message);
std::vector<std::string> readTexts(sd_bus_message* message);
BusDictionary readDictionary(sd_bus_message* message);

/// The entry of that name and type; nothing without one.
template <class T>
std::optional<T> entryOf(BusDictionary const& dictionary, std::string const& name)
{
    auto const entry = dictionary.find(name);
    if (entry == dictionary.end() || !std::holds_alternative<T>(entry->second))
        return std::nullopt;
    return std::get<T>(entry->second);
}

} // namespace zelvo
