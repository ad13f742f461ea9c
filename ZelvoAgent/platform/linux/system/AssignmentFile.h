#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// The value of a name in a text of shell-like assignments, one per line, such as os-release and
/// machine-info: with or without quotes; the last assignment wins. `nullopt` if the name is not assigned or
/// its quotes are not closed.
std::optional<std::string> assignedValue(std::string_view text, std::string_view name);
/// The same from a file; `nullopt` also if it cannot be read.
std::optional<std::string> assignedValueIn(std::filesystem::path const& file, std::string_view name);

} // namespace zelvo
