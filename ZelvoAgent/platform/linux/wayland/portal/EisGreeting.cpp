#include "platform/linux/wayland/portal/EisGreeting.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace zelvo {

namespace {

/// What each message begins with, in the byte order of the machine.
struct Header {
    std::uint64_t object;
    std::uint32_t length; ///< of the whole message
    std::uint32_t opcode;
};

constexpr std::uint64_t greetingObject = 0;
constexpr std::uint32_t connectionOpcode = 2; ///< the last message of the greeting; 0 and 1 come before it
constexpr std::uint32_t longestMessage = 1024;
constexpr std::uint64_t firstServerObject = 0xff00'0000'0000'0000;
constexpr std::uint64_t mostObjects = 1 << 16; ///< of each side, in the first seconds

bool isPossible(Header const& header)
{
    bool const isKnown = header.object < mostObjects || header.object - firstServerObject < mostObjects;
    return isKnown && header.length >= sizeof header && header.length <= longestMessage;
}

} // namespace

EisGreeting eisGreetingIn(std::span<std::byte const> bytes)
{
    Header header{};
    while (bytes.size() >= sizeof header) {
        std::memcpy(&header, bytes.data(), sizeof header);
        if (!isPossible(header) || (header.object == greetingObject && header.opcode > connectionOpcode))
            return EisGreeting::invalid;
        if (header.object != greetingObject || bytes.size() < header.length)
            return EisGreeting::ongoing;
        if (header.opcode == connectionOpcode)
            return EisGreeting::over;
        bytes = bytes.subspan(header.length);
    }
    return EisGreeting::ongoing;
}

EisGreeting peekEisGreeting(int socket)
{
    pollfd state{.fd = socket, .events = POLLRDHUP, .revents = 0};
    if (::poll(&state, 1, 0) != 0)
        return EisGreeting::invalid;
    std::array<std::byte, 4096> bytes{};
    ssize_t const length = ::recv(socket, bytes.data(), bytes.size(), MSG_PEEK | MSG_DONTWAIT);
    if (length <= 0)
        return length < 0 && errno == EAGAIN ? EisGreeting::ongoing : EisGreeting::invalid;
    return eisGreetingIn(std::span(bytes).first(static_cast<std::size_t>(length)));
}

} // namespace zelvo
