#pragma once

#include "platform/linux/applications/WindowWords.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo {

/// A client's window and whose it is.
struct ClientWindow {
    std::uint32_t id = 0;
    std::optional<std::int32_t> pid; ///< by the display server, else by its own word
    WindowWords words;
    std::uint32_t transientFor = 0; ///< 0 when for none
    std::uint32_t leader = 0;       ///< of its group of windows; 0 when none or itself
    std::string title = {};         ///< UTF-8, bounded
    bool isPopup = false;           ///< its program alone does not decide its application
};

} // namespace zelvo
