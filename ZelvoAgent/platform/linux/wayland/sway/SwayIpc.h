#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// The messages of sway's socket: a header, then a payload.
struct SwayHeader {
    static constexpr std::size_t size = 14;
    static constexpr std::uint32_t runCommand = 0;
    static constexpr std::uint32_t subscribe = 2;
    static constexpr std::uint32_t getTree = 4;
    /// No tree is longer.
    static constexpr std::uint32_t longestPayload = 32U << 20;

    /// `nullopt` if it is not one of sway's, or if the payload would be too long.
    static std::optional<SwayHeader> parse(std::string_view bytes);
    /// A whole message.
    static std::string message(std::uint32_t type, std::string_view payload);

    std::uint32_t length = 0; ///< of the payload, bytes
    std::uint32_t type = 0;
};

/// Questions to sway, over its socket ($SWAYSOCK). It connects when it must.
/// Thread: one at a time; each call blocks.
class SwayIpc {
public:
    SwayIpc() = default;
    ~SwayIpc();
    SwayIpc(SwayIpc const&) = delete;
    SwayIpc& operator=(SwayIpc const&) = delete;

    /// A connected socket that does not block, or -1.
    static int connect();
    /// The reply; `nullopt` if there is none within half a second.
    std::optional<std::string> ask(std::uint32_t type, std::string_view payload = {});

private:
    using Instant = std::chrono::steady_clock::time_point;
    std::optional<std::string> askOnce(std::uint32_t type, std::string_view payload, Instant end);
    bool send(std::string_view bytes, Instant end) const;
    bool receive(char* bytes, std::size_t count, Instant end) const;
    void close();

    int socket = -1;
};

} // namespace zelvo
