#include "platform/linux/dbus/BusMessages.h"

namespace zelvo {

namespace {

BusPtr opened(int (*open)(sd_bus**))
{
    sd_bus* bus = nullptr;
    return BusPtr(open(&bus) >= 0 ? bus : nullptr);
}

template <class T>
bool readBasic(sd_bus_message* message, char type, T& value)
{
    return sd_bus_message_read_basic(message, type, static_cast<void*>(&value)) > 0;
}

template <class T>
BusValue number(sd_bus_message* message, char type)
{
    T value{};
    if (!readBasic(message, type, value))
        return {};
    return static_cast<std::int64_t>(value);
}

/// The value at the message's position if it has a simple type; else skips it.
BusValue simpleValue(sd_bus_message* message)
{
    char type = 0;
    char const* contents = nullptr;
    if (sd_bus_message_peek_type(message, &type, &contents) <= 0)
        return {};
    switch (type) {
    case SD_BUS_TYPE_BOOLEAN: {
        auto const boolean = readTruth(message);
        return boolean ? BusValue(*boolean) : BusValue();
    }
    case SD_BUS_TYPE_BYTE:
        return number<std::uint8_t>(message, type);
    case SD_BUS_TYPE_INT16:
        return number<std::int16_t>(message, type);
    case SD_BUS_TYPE_UINT16:
        return number<std::uint16_t>(message, type);
    case SD_BUS_TYPE_INT32:
        return number<std::int32_t>(message, type);
    case SD_BUS_TYPE_UINT32:
        return number<std::uint32_t>(message, type);
    case SD_BUS_TYPE_INT64:
        return number<std::int64_t>(message, type);
    case SD_BUS_TYPE_UINT64:
        return number<std::uint64_t>(message, type);
    case SD_BUS_TYPE_DOUBLE: {
        double value = 0;
        return readBasic(message, type, value) ? BusValue(value) : BusValue();
    }
    case SD_BUS_TYPE_STRING:
    case SD_BUS_TYPE_OBJECT_PATH: {
        char const* value = nullptr;
        return readBasic(message, type, value) ? BusValue(std::string(value)) : BusValue();
    }
    default:
        return {};
    }
}

BusValue variantValue(sd_bus_message* message)
{
    char type = 0;
    char const* contents = nullptr;
    if (sd_bus_message_peek_type(message, &type, &contents) <= 0 || type != SD_BUS_TYPE_VARIANT ||
        sd_bus_message_enter_container(message, type, contents) <= 0)
        return {};
    BusValue const value = simpleValue(message);
    if (std::holds_alternative<std::monostate>(value))
        sd_bus_message_skip(message, contents);
    sd_bus_message_exit_container(message);
    return value;
}

} // namespace

BusPtr openSessionBus()
{
    return opened(sd_bus_open_user);
}

BusPtr openSystemBus()
{
    return opened(sd_bus_open_system);
}

BusPtr openBusAt(std::string const& address)
{
    sd_bus* raw = nullptr;
    if (sd_bus_new(&raw) < 0)
        return {};
    BusPtr bus(raw);
    if (sd_bus_set_address(raw, address.c_str()) < 0 || sd_bus_set_bus_client(raw, 1) < 0 ||
        sd_bus_start(raw) < 0)
        return {};
    return bus;
}

std::optional<std::string> readText(sd_bus_message* message)
{
    char const* text = nullptr;
    if (!readBasic(message, SD_BUS_TYPE_STRING, text) && !readBasic(message, SD_BUS_TYPE_OBJECT_PATH, text))
        return std::nullopt;
    return text;
}

std::optional<bool> readTruth(sd_bus_message* message)
{
    int value = 0; // sd-bus returns a boolean as an int.
    if (!readBasic(message, SD_BUS_TYPE_BOOLEAN, value))
        return std::nullopt;
    return value != 0;
}

std::optional<std::uint32_t> readUnsigned(sd_bus_message* message)
{
    std::uint32_t value = 0;
    if (!readBasic(message, SD_BUS_TYPE_UINT32, value))
        return std::nullopt;
    return value;
}

std::vector<std::string> readTexts(sd_bus_message* message)
{
    std::vector<std::string> texts;
    if (sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "s") <= 0)
        return texts;
    while (auto text = readText(message))
        texts.push_back(std::move(*text));
    sd_bus_message_exit_container(message);
    return texts;
}

BusDictionary readDictionary(sd_bus_message* message)
{
    BusDictionary dictionary;
    if (sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "{sv}") <= 0)
        return dictionary;
    while (sd_bus_message_enter_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv") > 0) {
        auto name = readText(message);
        BusValue value = variantValue(message);
        if (name)
            dictionary.insert_or_assign(std::move(*name), std::move(value));
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
    return dictionary;
}

} // namespace zelvo
