#pragma once

#include "platform/linux/wayland/WindowSource.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace zelvo {

/// The script's answer to one command.
struct KwinAnswer {
    std::int64_t command = 0; ///< the command's number
    /// Of a look: back to front. `isCovered` is not the script's to know.
    std::optional<WindowsNow> windows;
    bool isDone = false; ///< of the other commands
};

/// The longest answer that is read, in bytes, and the most windows in it.
constexpr std::size_t maxKwinAnswer = std::size_t{8} << 20;
constexpr std::size_t maxKwinWindows = 4096;

/// Reads an answer of windows.js. `nullopt` if it is no such answer. An answer with one unreadable window is
/// refused whole, because what is missing in it would count as not there. Thread: any.
std::optional<KwinAnswer> parseKwinAnswer(std::string_view text);

} // namespace zelvo
