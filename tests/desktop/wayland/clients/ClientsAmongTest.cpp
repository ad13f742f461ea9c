#include "platform/linux/wayland/ClientSockets.h"

#include <gtest/gtest.h>

#include <sstream>

namespace zelvo::test {
namespace {

using Processes = std::set<std::int32_t>;

constexpr std::int32_t compositorPid = 1;
constexpr std::int32_t xwayland = 2;
std::string const wayland = "/run/user/1/wayland-0";
std::string const x11 = std::string(1, '\0') + "/tmp/.X11-unix/X5";

/// A compositor that listens, with an X server, and clients.
class Desktop {
public:
    Desktop()
    {
        listen(wayland, {compositorPid});
        listen(x11, {compositorPid, xwayland});
        connect(wayland, compositorPid, xwayland);
    }

    void listen(std::string const& name, Processes const& who)
    {
        sockets.push_back({.inode = ++last, .isListening = true, .name = name});
        holders.ofInode[last] = who;
    }
    void connect(std::string const& name, std::int32_t server, std::int32_t client)
    {
        sockets.push_back({.inode = last + 1, .peer = last + 2, .name = name});
        sockets.push_back({.inode = last + 2, .peer = last + 1});
        holders.ofInode[last + 1] = {server};
        if (client)
            holders.ofInode[last + 2] = {client};
        last += 2;
    }
    std::optional<Processes> clients() const
    {
        return clientsAmong(sockets, holders,
                            {.wayland = wayland, .display = ":5.0", .ignored = {"/run/ipc"}});
    }

    std::vector<UnixSocket> sockets;
    SocketHolders holders;

private:
    std::uint32_t last = 100;
};

TEST(ClientsAmong, areThoseOfTheCompositorAndOfItsXServer)
{
    Desktop desktop;
    desktop.connect(wayland, compositorPid, 10);
    desktop.connect(x11, xwayland, 11);
    desktop.connect("/run/user/1/bus", 3, 12);
    desktop.listen("/run/user/1/bus", {3});

    EXPECT_EQ(desktop.clients(), (Processes{10, 11}));
}

TEST(ClientsAmong, includeThoseOfFurtherSocketsAndOfPairs)
{
    Desktop desktop;
    desktop.listen("/run/user/1/sandbox/wayland", {compositorPid});
    desktop.connect("/run/user/1/sandbox/wayland", compositorPid, 10);
    desktop.connect("", compositorPid, 11);
    desktop.listen("/run/ipc", {compositorPid});
    desktop.connect("/run/ipc", compositorPid, 12);

    EXPECT_EQ(desktop.clients(), (Processes{10, 11}));
}

TEST(ClientsAmong, doNotIncludeServicesOfTheCompositor)
{
    Desktop desktop;
    // The compositor is the client of the bus: its end has no name, the bus's end has one.
    desktop.connect("/run/user/1/bus", 3, compositorPid);

    EXPECT_EQ(desktop.clients(), Processes{});
}

TEST(ClientsAmong, includeProgramsInOtherNamespaces)
{
    Desktop desktop;
    desktop.holders.elsewhere = {{.names = {"/other"}, .processes = {20}},
                                 {.names = {"/other", wayland}, .processes = {21, 22}},
                                 {.names = {x11}, .processes = {23}}};

    EXPECT_EQ(desktop.clients(), (Processes{21, 22, 23}));
    desktop.holders.unreadable = {50};
    EXPECT_EQ(desktop.clients(), (Processes{21, 22, 23, 50}));
}

TEST(UnixSocketNames, areTheLastColumn)
{
    std::istringstream text("Num       RefCount Protocol Flags    Type St Inode Path\n"
                            "ffff8880: 00000003 00000000 00000000 0001 03 31415 /run/user/1/way land-0\n"
                            "0000000000000000: 00000003 00000000 00000000 0001 03 31416\n"
                            "0000000000000000: 00000003 00000000 00000000 0001 03     0 @/tmp/.X11-unix/X5\n"
                            "cut short\n");

    EXPECT_EQ(unixSocketNames(text), (std::set<std::string>{"Path", "/run/user/1/way land-0", x11}));
}

TEST(ClientsAmong, areKnownByThePathIfTheCompositorCannotBeRead)
{
    Desktop desktop;
    desktop.connect(wayland, compositorPid, 10);
    desktop.connect(x11, xwayland, 11);
    for (auto& [inode, who] : desktop.holders.ofInode)
        who.erase(compositorPid);
    desktop.holders.unreadable = {compositorPid};

    EXPECT_EQ(desktop.clients(), (Processes{10, 11}));
}

TEST(ClientsAmong, includeAllThatCannotBeReadIfOneIsNotFound)
{
    Desktop desktop;
    desktop.connect(wayland, compositorPid, 10);
    desktop.connect(wayland, compositorPid, 0);
    EXPECT_EQ(desktop.clients(), std::nullopt);

    desktop.holders.unreadable = {50, 51};
    EXPECT_EQ(desktop.clients(), (Processes{10, 50, 51}));
}

TEST(ClientsAmong, includeEachProcessThatHoldsAConnection)
{
    Desktop desktop;
    desktop.connect(wayland, compositorPid, 10);
    desktop.holders.ofInode.rbegin()->second.insert(11);

    EXPECT_EQ(desktop.clients(), (Processes{10, 11}));
}

TEST(ClientsAmong, areUnknownIfNobodyListens)
{
    Desktop desktop;
    std::erase_if(desktop.sockets, [](UnixSocket const& socket) { return socket.name == wayland; });

    EXPECT_EQ(desktop.clients(), std::nullopt);
}

} // namespace
} // namespace zelvo::test
