#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace zelvo {

/// Reads one whole number out of the settings that a settings manager (XSETTINGS) publishes; nothing when it
/// is not there, is no whole number, or the bytes are damaged.
std::optional<std::int32_t> integerSetting(std::span<std::uint8_t const> settings, std::string_view name);

} // namespace zelvo
