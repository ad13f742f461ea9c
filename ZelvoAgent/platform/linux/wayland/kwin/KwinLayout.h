#pragma once

#include <cstdint>
#include <optional>

namespace zelvo {

/// The keyboard layout that is active in KWin, among those of the seat's keymap; `nullopt` if it does not
/// say. Thread: any; blocks for some milliseconds.
std::optional<std::uint32_t> activeKwinLayout();

} // namespace zelvo
