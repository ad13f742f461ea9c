#include "platform/linux/atspi/AtspiBusAddress.h"

namespace zelvo {

std::optional<std::string> askForAccessibilityBus(Duration patience)
{
    BusPtr const session = openSessionBus();
    if (!session)
        return std::nullopt;
    auto const wait = std::chrono::duration_cast<std::chrono::microseconds>(patience).count();
    sd_bus_set_method_call_timeout(session.get(), static_cast<std::uint64_t>(wait));
    sd_bus_message* raw = nullptr;
    int const code = sd_bus_call_method(session.get(), "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus",
                                        "GetAddress", nullptr, &raw, "");
    BusMessagePtr const reply(raw);
    if (code < 0)
        return std::nullopt;
    auto address = readText(reply.get());
    return address && !address->empty() ? address : std::nullopt;
}

} // namespace zelvo
