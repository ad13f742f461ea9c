#pragma once

#include "base/ReleaseWith.h"

#include <systemd/sd-bus.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace zelvo {

/// Closes the connection and drops unsent messages.
using BusPtr = std::unique_ptr<sd_bus, ReleaseWith<sd_bus_close_unref>>;
using BusMessagePtr = std::unique_ptr<sd_bus_message, ReleaseWith<sd_bus_message_unref>>;
/// Ends what the slot represents: a match, an object, a pending call.
using BusSlotPtr = std::unique_ptr<sd_bus_slot, ReleaseWith<sd_bus_slot_unref>>;

/// The session bus, the system bus, or the bus at an address. Does not block; null if there is none.
BusPtr openSessionBus();
BusPtr openSystemBus();
BusPtr openBusAt(std::string const& address);

/// A property's value if it has a simple type.
using BusValue = std::variant<std::monostate, bool, std::int64_t, double, std::string>;
using BusDictionary = std::map<std::string, BusValue>;

/// Read a message's next argument. `nullopt` if it has another type; the message's position then stays
/// unchanged.
std::optional<std::string> readText(sd_bus_message* message);
std::optional<bool> readTruth(sd_bus_message* message);
std::optional<std::uint32_t> readUnsigned(sd_bus_message* message);
std::vector<std::string> readTexts(sd_bus_message* message);
BusDictionary readDictionary(sd_bus_message* message);

/// The entry with that name and type; `nullopt` if there is none.
template <class T>
std::optional<T> entryOf(BusDictionary const& dictionary, std::string const& name)
{
    auto const entry = dictionary.find(name);
    if (entry == dictionary.end() || !std::holds_alternative<T>(entry->second))
        return std::nullopt;
    return std::get<T>(entry->second);
}

} // namespace zelvo
