#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo {

/// The keyboard of the compositor's seat.
struct SeatKeymap {
    std::string text; ///< of the keymap, in the format of xkbcommon
    /// The active layout among those of the keymap; `nullopt` if the compositor does not say.
    std::optional<std::uint32_t> group;
    bool hasCapsLock = false; ///< it is on
    bool operator==(SeatKeymap const&) const = default;
};

} // namespace zelvo
