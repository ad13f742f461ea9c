#pragma once

#include <cstdint>
#include <optional>

struct xcb_connection_t;

namespace zelvo {

/// The process that made a window, as the server knows it (X-Resource). Takes one round trip; `nullopt` if
/// the window is gone or the server doesn't say.
std::optional<std::int32_t> windowProcess(xcb_connection_t* connection, std::uint32_t window);

} // namespace zelvo
