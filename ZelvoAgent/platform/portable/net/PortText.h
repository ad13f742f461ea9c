#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace zelvo {

/// The port that a text of digits names, 1 to 65535; nothing for any other text.
std::optional<std::uint16_t> parsePort(std::string_view digits);

} // namespace zelvo
