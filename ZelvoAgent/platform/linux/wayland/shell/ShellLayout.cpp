#include "platform/linux/wayland/shell/ShellLayout.h"

namespace zelvo {

std::optional<std::uint32_t> activeShellLayout(ShellLink& link)
{
    ShellReply const reply = link.call({.member = "Layout"});
    std::int32_t layout = -1;
    if (!reply.message || sd_bus_message_read(reply.message.get(), "i", &layout) <= 0 || layout < 0)
        return std::nullopt;
    return static_cast<std::uint32_t>(layout);
}

} // namespace zelvo
