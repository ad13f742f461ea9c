#pragma once

#include "platform/linux/wayland/ClientList.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The clients of the compositor and of its X server, by the other ends of their sockets. A client in a
/// sandbox is found like any other.
class ClientSockets final : public ClientList {
public:
    /// sockets     the paths that the compositor and its X server listen at; "@..." for abstract ones
    /// compositor  its process, if it is known: what it is connected to by itself counts too, as far as its
    ///             descriptors can be read
    ClientSockets(std::vector<std::string> sockets, std::optional<std::int32_t> compositor);
    /// Those of this program's session: WAYLAND_DISPLAY, XDG_RUNTIME_DIR and DISPLAY.
    static ClientSockets ofThisSession(std::optional<std::int32_t> compositor);

    std::optional<std::vector<std::int32_t>> processes() override;

private:
    std::vector<std::string> sockets;
    std::optional<std::int32_t> compositor;
};

} // namespace zelvo
