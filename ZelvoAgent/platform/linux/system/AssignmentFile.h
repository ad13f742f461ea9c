#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// The value of a name in a text of shell-like assignments, one a line, as os-release and machine-info are
/// written: with or without quotes, the last assignment in force. Nothing when the name is not assigned or
/// its quotes don't close.
std::optional<std::string> assignedValue(std::string_view text, std::string_view name);
/// The same from a file; nothing also when it can't be read.
std::optional<std::string> assignedValueIn(std::filesystem::path const& file, std::string_view name);

} // namespace zelvo
