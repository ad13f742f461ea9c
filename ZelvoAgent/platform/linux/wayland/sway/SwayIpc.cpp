#include "platform/linux/wayland/sway/SwayIpc.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace zelvo {

namespace {

constexpr std::string_view magic = "i3-ipc";
constexpr std::chrono::milliseconds patience{450};

bool waitFor(int socket, short what, std::chrono::steady_clock::time_point end)
{
    auto const left =
        std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
    pollfd waiting{.fd = socket, .events = what, .revents = 0};
    return left > 0 && ::poll(&waiting, 1, static_cast<int>(left)) == 1;
}

} // namespace

std::optional<SwayHeader> SwayHeader::parse(std::string_view bytes)
{
    if (bytes.size() < size || !bytes.starts_with(magic))
        return std::nullopt;
    SwayHeader header;
    std::memcpy(&header.length, bytes.data() + magic.size(), sizeof header.length);
    std::memcpy(&header.type, bytes.data() + magic.size() + sizeof header.length, sizeof header.type);
    return header.length <= longestPayload ? std::optional(header) : std::nullopt;
}

std::string SwayHeader::message(std::uint32_t type, std::string_view payload)
{
    auto const length = static_cast<std::uint32_t>(payload.size());
    std::string text(magic);
    text.append(reinterpret_cast<char const*>(&length), sizeof length);
    text.append(reinterpret_cast<char const*>(&type), sizeof type);
    return text.append(payload);
}

SwayIpc::~SwayIpc()
{
    close();
}

int SwayIpc::connect()
{
    char const* const path = std::getenv("SWAYSOCK");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (!path || !*path || std::strlen(path) >= sizeof address.sun_path)
        return -1;
    std::memcpy(address.sun_path, path, std::strlen(path) + 1);
    int const socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket >= 0 && ::connect(socket, reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0) {
        ::close(socket);
        return -1;
    }
    return socket;
}

std::optional<std::string> SwayIpc::ask(std::uint32_t type, std::string_view payload)
{
    auto const end = std::chrono::steady_clock::now() + patience;
    bool const isNew = socket < 0;
    auto reply = askOnce(type, payload, end);
    // A connection of an earlier sway may be lost.
    if (!reply && !isNew && std::chrono::steady_clock::now() < end)
        reply = askOnce(type, payload, end);
    return reply;
}

std::optional<std::string> SwayIpc::askOnce(std::uint32_t type, std::string_view payload, Instant end)
{
    if (socket < 0)
        socket = connect();
    char head[SwayHeader::size];
    std::string reply;
    if (socket >= 0 && send(SwayHeader::message(type, payload), end) && receive(head, sizeof head, end)) {
        auto const header = SwayHeader::parse({head, sizeof head});
        if (header && header->type == type) {
            reply.resize(header->length);
            if (receive(reply.data(), reply.size(), end))
                return reply;
        }
    }
    // What arrives later would be taken for the next reply.
    close();
    return std::nullopt;
}

bool SwayIpc::send(std::string_view bytes, Instant end) const
{
    while (!bytes.empty()) {
        auto const sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent > 0)
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        else if (errno != EAGAIN || !waitFor(socket, POLLOUT, end))
            return false;
    }
    return true;
}

bool SwayIpc::receive(char* bytes, std::size_t count, Instant end) const
{
    while (count > 0) {
        auto const got = ::recv(socket, bytes, count, 0);
        if (got > 0) {
            bytes += got;
            count -= static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EAGAIN || !waitFor(socket, POLLIN, end)) {
            return false;
        }
    }
    return true;
}

void SwayIpc::close()
{
    if (socket >= 0)
        ::close(socket);
    socket = -1;
}

} // namespace zelvo
