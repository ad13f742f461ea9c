#pragma once

#include <cstdint>
#include <vector>

namespace zelvo {

/// The processes below a process that draw web pages and handle their input: the renderers of Chromium and
/// of programs built on it, the content processes of Firefox, and those of WebKit. Reads /proc.
std::vector<std::int32_t> pageProcessesOf(std::int32_t pid);

} // namespace zelvo
