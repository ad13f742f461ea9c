#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// A network namespace other than ours, such as that of a sandbox. The kernel lists an accepted connection in
/// the namespace of its client, and does not say who holds the other end.
struct OtherNamespace {
    std::set<std::string> names;      ///< of its Unix sockets; an abstract one begins with a zero byte
    std::set<std::int32_t> processes; ///< those in it that hold a socket
};

/// The names in the text of /proc/PID/net/unix.
std::set<std::string> unixSocketNames(std::istream& text);

/// Which processes hold which sockets, by /proc.
struct SocketHolders {
    std::map<std::uint32_t, std::set<std::int32_t>> ofInode;
    /// Processes whose descriptors cannot be read: of other users, or protected from being read.
    std::vector<std::int32_t> unreadable;
    std::vector<OtherNamespace> elsewhere;

    /// Reads all processes, which takes some milliseconds.
    static SocketHolders read();
    std::set<std::int32_t> of(std::uint32_t inode) const
    {
        auto const found = ofInode.find(inode);
        return found == ofInode.end() ? std::set<std::int32_t>() : found->second;
    }
};

} // namespace zelvo
