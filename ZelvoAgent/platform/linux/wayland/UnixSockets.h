#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zelvo {

/// A socket of the Unix family, as the kernel describes it (unix_diag).
struct UnixSocket {
    std::uint32_t inode = 0; ///< 0 while a connection waits to be accepted
    std::uint32_t peer = 0;  ///< the inode of the other end, in whichever namespace; 0 if there is none
    bool isListening = false;
    std::string name; ///< its path; an abstract one begins with a zero byte. An accepted socket has that of
                      ///< the listening one
    std::uint32_t fileInode = 0; ///< of that path, 0 without one
    bool operator==(UnixSocket const&) const = default;
};

/// Adds the sockets in a packet of the kernel's answer. False if it is an error or malformed. isEnd becomes
/// true with the last packet.
bool readUnixSockets(std::span<std::uint8_t const> packet, std::vector<UnixSocket>& sockets, bool& isEnd);

/// All sockets of this network namespace. `nullopt` if the kernel does not say. Takes about a millisecond.
std::optional<std::vector<UnixSocket>> allUnixSockets();

} // namespace zelvo
