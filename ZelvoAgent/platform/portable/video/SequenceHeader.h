#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace zelvo {

constexpr int highProfile = 100; ///< the number that H.264 gives it

/// The number of the profile in an encoder's head, as Annex B (start codes) or as the MPEG-4 container keeps
/// it; nothing when there is none in it.
std::optional<int> profileOf(std::span<std::uint8_t const> head);

} // namespace zelvo
