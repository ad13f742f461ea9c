#pragma once

#include "platform/linux/wayland/ClientList.h"
#include "platform/linux/wayland/SocketHolders.h"
#include "platform/linux/wayland/UnixSockets.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// Where a compositor listens.
struct CompositorSockets {
    std::string wayland;              ///< the path of its socket
    std::uint32_t waylandInode = 0;   ///< of that path
    std::string display;              ///< of its X server: ":1"; empty if there is none
    std::vector<std::string> ignored; ///< paths on which the compositor serves something else: sway's IPC
};

/// The clients among these sockets, without the compositor and the X server. Counted are the other ends of
/// connections to a socket on which the compositor's process listens, and of pairs without a name, one of
/// which the compositor gave away. Where a process cannot be found because some cannot be read, all of those
/// are counted. `nullopt` if a process cannot be found, or nobody listens.
std::optional<std::set<std::int32_t>> clientsAmong(std::vector<UnixSocket> const& sockets,
                                                   SocketHolders const& holders,
                                                   CompositorSockets const& compositor);

/// ClientList by the kernel's diagnostics of sockets. It sees programs in sandboxes, whatever their
/// namespaces. A compositor whose descriptors cannot be read, such as one with capabilities, is known by its
/// socket's path alone: connections that it gave away are missing then.
class ClientSockets final : public ClientList {
public:
    /// wayland  the path of the compositor's socket
    /// display  of its X server, as in $DISPLAY; empty if there is none
    ClientSockets(std::string wayland, std::string display, std::vector<std::string> ignored = {});

    std::optional<std::vector<std::int32_t>> processes() override;

private:
    CompositorSockets compositor;
};

} // namespace zelvo
