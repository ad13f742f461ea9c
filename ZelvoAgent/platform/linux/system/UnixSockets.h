#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// A connected Unix socket, as the kernel lists it.
struct UnixSocket {
    std::uint32_t inode = 0;
    std::uint32_t peer = 0; ///< the inode of the other end; 0 if it is unknown
    std::string name; ///< the path that its listener is bound to, "@..." for an abstract one; empty without
    bool operator==(UnixSocket const&) const = default;
};

/// All connected stream sockets of this network namespace. `nullopt` if the kernel does not list them.
/// Thread: any; takes about a millisecond.
std::optional<std::vector<UnixSocket>> connectedUnixSockets();

/// The inodes of the sockets that a process has open; `nullopt` if that cannot be read. Reads /proc.
std::optional<std::set<std::uint32_t>> socketsOfProcess(std::int32_t pid);

/// Which processes have one of these sockets open, among those that may be looked at. Reads /proc; takes some
/// milliseconds.
/// unowned  receives the sockets that none of them has
std::vector<std::int32_t> ownersOfSockets(std::set<std::uint32_t> const& inodes,
                                          std::set<std::uint32_t>& unowned);

} // namespace zelvo
