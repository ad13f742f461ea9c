#include "platform/linux/wayland/shell/ShellLink.h"

namespace zelvo {

namespace {

constexpr char const* shellName = "org.gnome.Shell";

struct BusError {
    BusError() = default;
    BusError(BusError const&) = delete;
    BusError& operator=(BusError const&) = delete;
    ~BusError() { sd_bus_error_free(&raw); }
    sd_bus_error raw{};
};

BusMessagePtr messageOf(sd_bus* bus, ShellCall const& call)
{
    sd_bus_message* raw = nullptr;
    if (sd_bus_message_new_method_call(bus, &raw, shellName, call.path.c_str(), call.interface.c_str(),
                                       call.member.c_str()) < 0)
        return {};
    BusMessagePtr message(raw);
    sd_bus_message_set_auto_start(raw, 0);
    if (call.arguments)
        call.arguments(raw);
    return message;
}

} // namespace

ShellLink::ShellLink(std::function<BusPtr()> open) : open(std::move(open)) {}

ShellReply ShellLink::call(ShellCall const& call)
{
    std::scoped_lock const lock(mutex);
    if (bus && sd_bus_is_open(bus.get()) <= 0)
        bus.reset();
    if (!bus)
        bus = open();
    BusMessagePtr const message = bus ? messageOf(bus.get(), call) : BusMessagePtr();
    if (!message)
        return {.message = {}, .error = SD_BUS_ERROR_DISCONNECTED, .reason = "there is no bus"};
    BusError error;
    sd_bus_message* reply = nullptr;
    if (sd_bus_call(bus.get(), message.get(), call.patience, &error.raw, &reply) < 0)
        return {.message = {},
                .error = error.raw.name ? error.raw.name : SD_BUS_ERROR_FAILED,
                .reason = error.raw.message ? error.raw.message : ""};
    return {.message = BusMessagePtr(reply), .error = {}, .reason = {}};
}

} // namespace zelvo
