#pragma once

#include <string>

namespace zelvo {

/// What a window says of the application that it belongs to. Empty where it says nothing.
struct WindowWords {
    std::string gtkApplicationId; ///< _GTK_APPLICATION_ID
    std::string kdeDesktopFile;   ///< _KDE_NET_WM_DESKTOP_FILE
    std::string instance;         ///< of WM_CLASS
    std::string className;        ///< of WM_CLASS
    bool operator==(WindowWords const&) const = default;
};

} // namespace zelvo
