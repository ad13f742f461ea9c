#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace zelvo {

/// Limit of an HTTP response head, in bytes.
inline constexpr std::size_t maxHeadBytes = 16384;

/// The length of the head, including its empty line; `nullopt` while it is incomplete.
std::optional<std::size_t> headLength(std::string_view received);

/// The status of an HTTP/1.x response; `nullopt` if the text does not start with a status line.
std::optional<int> statusOfHead(std::string_view head);

} // namespace zelvo
