#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace zelvo::service {

/// The socket of a service manager: keeps what a service sends.
class NotifySocket {
public:
    /// name   a path; with "@" in front a name without a file
    explicit NotifySocket(std::string const& name) : number(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::ranges::copy(name, address.sun_path);
        if (name.front() == '@')
            address.sun_path[0] = '\0';
        auto const bytes = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        if (number < 0 || ::bind(number, reinterpret_cast<sockaddr const*>(&address), bytes) != 0)
            throw std::runtime_error("no socket");
    }
    NotifySocket(NotifySocket const&) = delete;
    NotifySocket& operator=(NotifySocket const&) = delete;
    ~NotifySocket() { ::close(number); }

    /// The next message; empty if none arrives in time.
    std::string next(std::chrono::milliseconds patience = std::chrono::seconds(10)) const
    {
        pollfd ready{.fd = number, .events = POLLIN, .revents = 0};
        if (::poll(&ready, 1, static_cast<int>(patience.count())) != 1)
            return {};
        std::array<char, 4096> room{};
        ssize_t const count = ::recv(number, room.data(), room.size(), 0);
        return {room.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
    }
    /// The next message that begins like this; empty if none arrives in time.
    std::string nextOf(std::string const& begin) const
    {
        auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (std::chrono::steady_clock::now() < end)
            if (std::string message = next(); message.starts_with(begin))
                return message;
        return {};
    }

private:
    int number;
};

} // namespace zelvo::service
