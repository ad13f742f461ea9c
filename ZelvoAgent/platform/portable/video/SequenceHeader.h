#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace zelvo {

constexpr int highProfile = 100; ///< profile_idc of H.264

/// The profile_idc in an encoder's parameter sets, in Annex B form (start codes) or in the MPEG-4
/// container's; `nullopt` if there is none.
std::optional<int> profileOf(std::span<std::uint8_t const> head);

} // namespace zelvo
