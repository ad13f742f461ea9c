#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace zelvo {

/// The baseline for files: bare system calls. A failure ends the benchmark.
std::string bareRead(std::filesystem::path const& file);
/// Writes a temporary file beside the old one, syncs and renames it.
void bareWrite(std::filesystem::path const& file, std::string_view data);

} // namespace zelvo
