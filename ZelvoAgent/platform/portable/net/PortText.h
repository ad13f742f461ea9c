#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace zelvo {

/// The port in a text of digits, 1 to 65535; `nullopt` for any other text.
std::optional<std::uint16_t> parsePort(std::string_view digits);

} // namespace zelvo
