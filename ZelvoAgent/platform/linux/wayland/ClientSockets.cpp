#include "platform/linux/wayland/ClientSockets.h"

#include "platform/linux/system/UnixSockets.h"
#include "platform/linux/system/XdgFolders.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <utility>

namespace zelvo {

namespace {

std::string variable(char const* name)
{
    char const* const value = std::getenv(name);
    return value ? value : "";
}

/// The paths of an X server, for ":1" and ":1.0".
std::vector<std::string> pathsOfDisplay(std::string const& display)
{
    if (!display.starts_with(':'))
        return {};
    std::string const path = "/tmp/.X11-unix/X" + display.substr(1, display.find('.') - 1);
    return {path, "@" + path};
}

/// Whether any of these sockets is still connected.
bool areConnected(std::set<std::uint32_t> const& inodes)
{
    auto const now = connectedUnixSockets();
    return !now ||
           std::ranges::any_of(*now, [&](UnixSocket const& socket) { return inodes.contains(socket.inode); });
}

} // namespace

ClientSockets::ClientSockets(std::vector<std::string> sockets, std::optional<std::int32_t> compositor)
    : sockets(std::move(sockets)), compositor(compositor)
{
}

ClientSockets ClientSockets::ofThisSession(std::optional<std::int32_t> compositor)
{
    std::vector<std::string> paths = pathsOfDisplay(variable("DISPLAY"));
    std::filesystem::path const socket = variable("WAYLAND_DISPLAY");
    if (socket.is_absolute())
        paths.push_back(socket);
    else if (auto const folder = xdg::runtimeFolder())
        paths.push_back(*folder / socket);
    return {std::move(paths), compositor};
}

std::optional<std::vector<std::int32_t>> ClientSockets::processes()
{
    auto const all = connectedUnixSockets();
    if (!all)
        return std::nullopt;
    auto const ownEnds = compositor ? socketsOfProcess(*compositor) : std::nullopt;
    std::set<std::uint32_t> clientEnds; // of the sockets that everybody may connect to
    std::set<std::uint32_t> otherEnds;  // what the compositor itself is connected to
    for (UnixSocket const& socket : *all) {
        bool const isAccepted = std::ranges::find(sockets, socket.name) != sockets.end();
        if (isAccepted && socket.peer != 0)
            clientEnds.insert(socket.peer);
        else if (ownEnds && ownEnds->contains(socket.inode) && socket.peer != 0)
            otherEnds.insert(socket.peer);
    }
    std::set<std::uint32_t> ends = clientEnds;
    ends.insert(otherEnds.begin(), otherEnds.end());
    std::set<std::uint32_t> unowned;
    std::vector<std::int32_t> owners = ownersOfSockets(ends, unowned);
    // Services of other users are no applications; a client that may not be looked at could be anyone.
    std::erase_if(unowned, [&](std::uint32_t inode) { return !clientEnds.contains(inode); });
    if (!unowned.empty() && areConnected(unowned))
        return std::nullopt;
    std::erase(owners, compositor.value_or(0));
    return owners;
}

} // namespace zelvo
