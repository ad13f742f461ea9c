#include "platform/linux/wayland/UnixSockets.h"

#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <linux/unix_diag.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace zelvo {

namespace {

template <class T>
bool readAt(std::span<std::uint8_t const> bytes, T& value)
{
    if (bytes.size() < sizeof value)
        return false;
    std::memcpy(&value, bytes.data(), sizeof value);
    return true;
}

constexpr std::size_t aligned(std::size_t size)
{
    return (size + 3) & ~std::size_t{3};
}

std::span<std::uint8_t const> after(std::span<std::uint8_t const> bytes, std::size_t count)
{
    return bytes.subspan(std::min(aligned(count), bytes.size()));
}

void takeAttribute(UnixSocket& socket, std::uint16_t type, std::span<std::uint8_t const> value)
{
    if (type == UNIX_DIAG_NAME)
        socket.name.assign(reinterpret_cast<char const*>(value.data()), value.size());
    else if (type == UNIX_DIAG_PEER)
        readAt(value, socket.peer);
    else if (unix_diag_vfs file{}; type == UNIX_DIAG_VFS && readAt(value, file))
        socket.fileInode = file.udiag_vfs_ino;
}

/// The socket of one message; `nullopt` if it is cut short.
std::optional<UnixSocket> socketOf(std::span<std::uint8_t const> bytes)
{
    unix_diag_msg message{};
    if (!readAt(bytes, message))
        return std::nullopt;
    UnixSocket socket{.inode = message.udiag_ino, .isListening = message.udiag_state == TCP_LISTEN};
    bytes = after(bytes, sizeof message);
    while (!bytes.empty()) {
        nlattr attribute{};
        if (!readAt(bytes, attribute) || attribute.nla_len < sizeof attribute ||
            attribute.nla_len > bytes.size())
            return std::nullopt;
        takeAttribute(socket, attribute.nla_type,
                      bytes.subspan(sizeof attribute, attribute.nla_len - sizeof attribute));
        bytes = after(bytes, attribute.nla_len);
    }
    // A path ends with a zero byte; an abstract name begins with one.
    if (!socket.name.empty() && socket.name[0] != '\0')
        socket.name.resize(std::strlen(socket.name.c_str()));
    return socket;
}

/// A socket for questions, which waits at most a second for an answer.
class DiagnosticsSocket {
public:
    DiagnosticsSocket() : descriptor(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG))
    {
        timeval const patience{.tv_sec = 1, .tv_usec = 0};
        ::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }
    ~DiagnosticsSocket()
    {
        if (descriptor >= 0)
            ::close(descriptor);
    }
    DiagnosticsSocket(DiagnosticsSocket const&) = delete;
    DiagnosticsSocket& operator=(DiagnosticsSocket const&) = delete;

    bool ask() const
    {
        struct {
            nlmsghdr header;
            unix_diag_req request;
        } message{};
        message.header.nlmsg_len = sizeof message;
        message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
        message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
        message.request.sdiag_family = AF_UNIX;
        message.request.udiag_states = ~0U;
        message.request.udiag_show = UDIAG_SHOW_NAME | UDIAG_SHOW_PEER | UDIAG_SHOW_VFS;
        return ::send(descriptor, &message, sizeof message, 0) == static_cast<ssize_t>(sizeof message);
    }
    ssize_t receive(std::span<std::uint8_t> bytes) const
    {
        return ::recv(descriptor, bytes.data(), bytes.size(), 0);
    }

private:
    int descriptor;
};

} // namespace

bool readUnixSockets(std::span<std::uint8_t const> packet, std::vector<UnixSocket>& sockets, bool& isEnd)
{
    while (!packet.empty()) {
        nlmsghdr header{};
        if (!readAt(packet, header) || header.nlmsg_len < sizeof header || header.nlmsg_len > packet.size())
            return false;
        isEnd = header.nlmsg_type == NLMSG_DONE;
        if (isEnd)
            return true;
        // A list that changed meanwhile may lack sockets.
        if (header.nlmsg_type != SOCK_DIAG_BY_FAMILY || header.nlmsg_flags & NLM_F_DUMP_INTR)
            return false;
        auto socket = socketOf(packet.subspan(sizeof header, header.nlmsg_len - sizeof header));
        if (!socket)
            return false;
        sockets.push_back(std::move(*socket));
        packet = after(packet, header.nlmsg_len);
    }
    return true;
}

std::optional<std::vector<UnixSocket>> allUnixSockets()
{
    DiagnosticsSocket const kernel;
    if (!kernel.ask())
        return std::nullopt;
    std::vector<UnixSocket> sockets;
    std::vector<std::uint8_t> packet(std::size_t{64} * 1024);
    for (bool isEnd = false; !isEnd;) {
        auto const size = kernel.receive(packet);
        if (size <= 0 ||
            !readUnixSockets(std::span(packet).first(static_cast<std::size_t>(size)), sockets, isEnd))
            return std::nullopt;
    }
    return sockets;
}

} // namespace zelvo
