#include "platform/linux/wayland/ClientSockets.h"

#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <utility>

namespace zelvo {

namespace {

/// "/tmp/.X11-unix/X1" of ":1.0"; empty for a display that is not on this machine.
std::string pathOfDisplay(std::string const& display)
{
    if (!display.starts_with(':'))
        return {};
    std::string const number = display.substr(1, display.find('.') - 1);
    bool const isNumber = !number.empty() && std::ranges::all_of(number, [](char letter) {
        return letter >= '0' && letter <= '9';
    });
    return isNumber ? "/tmp/.X11-unix/X" + number : std::string();
}

/// What is known of the sockets, for the questions below.
class Survey {
public:
    Survey(std::vector<UnixSocket> const& sockets,
           SocketHolders const& holders,
           CompositorSockets const& compositor)
        : sockets(sockets), holders(holders), wanted(compositor)
    {
        std::string const path = pathOfDisplay(wanted.display);
        if (!path.empty())
            names = {path, '\0' + path};
        for (UnixSocket const& socket : sockets)
            byInode[socket.inode] = &socket;
    }

    /// Finds who listens, and on what else. False if nobody does.
    bool findServers()
    {
        bool found = false;
        for (UnixSocket const& socket : sockets)
            if (socket.isListening && isCompositors(socket)) {
                found = true;
                names.insert(socket.name);
                compositors.merge(holders.of(socket.inode));
            }
        for (UnixSocket const& socket : sockets)
            if (socket.isListening && !socket.name.empty() && isHeldByCompositor(socket) &&
                !std::ranges::count(wanted.ignored, socket.name))
                names.insert(socket.name);
        // After that, because a compositor opens its X server's sockets itself.
        for (UnixSocket const& socket : sockets)
            if (socket.isListening && names.contains(socket.name))
                servers.merge(holders.of(socket.inode));
        servers.insert(compositors.begin(), compositors.end());
        return found;
    }

    std::set<std::uint32_t> clientEnds() const
    {
        std::set<std::uint32_t> ends;
        for (UnixSocket const& socket : sockets)
            if (!socket.isListening && socket.peer && (names.contains(socket.name) || isGivenAway(socket)))
                ends.insert(socket.peer);
        return ends;
    }

    /// Who holds the client's end of a connection is not known there.
    std::set<std::int32_t> clientsElsewhere() const
    {
        std::set<std::int32_t> clients;
        for (OtherNamespace const& other : holders.elsewhere) {
            if (std::ranges::none_of(other.names, [&](auto const& name) { return names.contains(name); }))
                continue;
            clients.insert(other.processes.begin(), other.processes.end());
            clients.insert(holders.unreadable.begin(), holders.unreadable.end());
        }
        return clients;
    }

    std::set<std::int32_t> servers; ///< the compositor and its X server

private:
    bool isCompositors(UnixSocket const& socket) const
    {
        return socket.name == wanted.wayland ||
               (wanted.waylandInode && socket.fileInode == wanted.waylandInode &&
                socket.name.substr(socket.name.rfind('/') + 1) ==
                    wanted.wayland.substr(wanted.wayland.rfind('/') + 1));
    }

    bool isHeldByCompositor(UnixSocket const& socket) const
    {
        auto const who = holders.of(socket.inode);
        return std::ranges::any_of(who, [&](std::int32_t pid) { return compositors.contains(pid); });
    }

    /// One of a pair without names, as a compositor makes it for a program that it starts.
    bool isGivenAway(UnixSocket const& socket) const
    {
        if (!socket.name.empty() || !isHeldByCompositor(socket))
            return false;
        auto const peer = byInode.find(socket.peer);
        return peer == byInode.end() || peer->second->name.empty();
    }

    std::vector<UnixSocket> const& sockets;
    SocketHolders const& holders;
    CompositorSockets const& wanted;
    std::map<std::uint32_t, UnixSocket const*> byInode;
    std::set<std::string> names; ///< of the listening sockets
    std::set<std::int32_t> compositors;
};

} // namespace

std::optional<std::set<std::int32_t>> clientsAmong(std::vector<UnixSocket> const& sockets,
                                                   SocketHolders const& holders,
                                                   CompositorSockets const& compositor)
{
    Survey survey(sockets, holders, compositor);
    if (!survey.findServers())
        return std::nullopt;
    std::set<std::int32_t> clients = survey.clientsElsewhere();
    for (std::uint32_t const end : survey.clientEnds()) {
        auto who = holders.of(end);
        if (who.empty())
            who.insert(holders.unreadable.begin(), holders.unreadable.end());
        if (who.empty())
            return std::nullopt;
        clients.merge(who);
    }
    for (std::int32_t const server : survey.servers)
        clients.erase(server);
    return clients;
}

ClientSockets::ClientSockets(std::string wayland, std::string display, std::vector<std::string> ignored)
    : compositor{.wayland = std::move(wayland), .display = std::move(display), .ignored = std::move(ignored)}
{
    struct stat file{};
    if (::stat(compositor.wayland.c_str(), &file) == 0)
        compositor.waylandInode = static_cast<std::uint32_t>(file.st_ino);
}

std::optional<std::vector<std::int32_t>> ClientSockets::processes()
{
    // A client that ends between the two questions has no process. It is gone in the next list.
    for (int attempt = 0; attempt < 3; ++attempt) {
        auto const sockets = allUnixSockets();
        if (!sockets)
            continue;
        auto const clients = clientsAmong(*sockets, SocketHolders::read(), compositor);
        if (clients)
            return std::vector(clients->begin(), clients->end());
    }
    return std::nullopt;
}

} // namespace zelvo
