#include "platform/linux/atspi/StatusSwitch.h"

namespace zelvo {

namespace {

constexpr Duration patience = 2s;

BusCall statusCall(char const* member, std::function<void(sd_bus_message*)> arguments)
{
    return {.destination = "org.a11y.Bus",
            .path = "/org/a11y/bus",
            .interface = "org.freedesktop.DBus.Properties",
            .member = member,
            .arguments = std::move(arguments),
            .patience = patience};
}

} // namespace

Task<> StatusSwitch::on()
{
    if (co_await read() != false || !co_await write(true))
        co_return;
    isOurs.set(true);
}

Task<> StatusSwitch::off()
{
    if (!isOurs.get())
        co_return;
    isOurs.set(false);
    co_await write(false);
}

Task<std::optional<bool>> StatusSwitch::read()
{
    BusCall call = statusCall("Get", [](sd_bus_message* message) {
        sd_bus_message_append(message, "ss", "org.a11y.Status", "IsEnabled");
    });
    std::optional<bool> value;
    BusConnection::MessageHandler onReply = [&value](sd_bus_message* reply) {
        if (sd_bus_message_enter_container(reply, SD_BUS_TYPE_VARIANT, "b") > 0)
            value = readTruth(reply);
    };
    try {
        co_await session.call(std::move(call), std::move(onReply));
    } catch (BusFailure const&) {
        co_return std::nullopt;
    }
    co_return value;
}

Task<bool> StatusSwitch::write(bool value)
{
    BusCall call = statusCall("Set", [value](sd_bus_message* message) {
        sd_bus_message_append(message, "ssv", "org.a11y.Status", "IsEnabled", "b", static_cast<int>(value));
    });
    try {
        co_await session.call(std::move(call));
    } catch (BusFailure const&) {
        co_return false;
    }
    co_return true;
}

} // namespace zelvo
