#include "platform/linux/wayland/kwin/KwinLayout.h"

#include "platform/linux/dbus/BusMessages.h"

namespace zelvo {

namespace {

constexpr std::uint64_t patience = 200'000; // Microseconds.

}

std::optional<std::uint32_t> activeKwinLayout()
{
    BusPtr const bus = openSessionBus();
    if (!bus)
        return std::nullopt;
    sd_bus_message* raw = nullptr;
    sd_bus_set_method_call_timeout(bus.get(), patience);
    int const result = sd_bus_call_method(bus.get(), "org.kde.keyboard", "/Layouts",
                                          "org.kde.KeyboardLayouts", "getLayout", nullptr, &raw, "");
    BusMessagePtr const reply(raw);
    return result >= 0 ? readUnsigned(reply.get()) : std::nullopt;
}

} // namespace zelvo
