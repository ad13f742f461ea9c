#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace zelvo {

/// The longest head of an HTTP answer that is read, in bytes.
inline constexpr std::size_t maxHeadBytes = 16384;

/// The length of the head, its empty line included; nothing while it is not complete.
std::optional<std::size_t> headLength(std::string_view received);

/// The status of an HTTP/1.x answer; nothing when the text does not begin with a status line.
std::optional<int> statusOfHead(std::string_view head);

} // namespace zelvo
