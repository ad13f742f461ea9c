#include "platform/portable/net/HttpHead.h"

#include <charconv>

namespace zelvo {

std::optional<std::size_t> headLength(std::string_view received)
{
    constexpr std::string_view end = "\r\n\r\n";
    auto const at = received.find(end);
    if (at == std::string_view::npos)
        return std::nullopt;
    return at + end.size();
}

std::optional<int> statusOfHead(std::string_view head)
{
    constexpr std::string_view protocol = "HTTP/1.";
    constexpr std::size_t statusAt = protocol.size() + 2; // one digit and a space
    constexpr std::size_t statusEnd = statusAt + 3;
    if (!head.starts_with(protocol) || head.size() < statusEnd || head[statusAt - 1] != ' ')
        return std::nullopt;
    int status = 0;
    auto const [end, error] = std::from_chars(head.data() + statusAt, head.data() + statusEnd, status);
    if (error != std::errc{} || end != head.data() + statusEnd || status < 100)
        return std::nullopt;
    return status;
}

} // namespace zelvo
