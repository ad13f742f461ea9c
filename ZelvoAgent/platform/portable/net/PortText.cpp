#include "platform/portable/net/PortText.h"

#include <charconv>

namespace zelvo {

std::optional<std::uint16_t> parsePort(std::string_view digits)
{
    std::uint16_t port = 0;
    auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    if (error != std::errc{} || end != digits.data() + digits.size() || port == 0)
        return std::nullopt;
    return port;
}

} // namespace zelvo
