#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace zelvo {

/// The baseline of files: the bare calls. A failure ends the benchmark.
std::string bareRead(std::filesystem::path const& file);
/// Written beside the old file, synced and renamed.
void bareWrite(std::filesystem::path const& file, std::string_view data);

} // namespace zelvo
