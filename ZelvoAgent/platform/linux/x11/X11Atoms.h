#pragma once

#include <cstdint>

struct xcb_connection_t;

namespace zelvo {

/// The atoms in use; 0 for one that could not be interned.
struct X11Atoms {
    std::uint32_t utf8String = 0;
    std::uint32_t wmClientLeader = 0;
    std::uint32_t wmState = 0;
    std::uint32_t gtkApplicationId = 0;
    std::uint32_t kdeDesktopFile = 0;
    std::uint32_t gtkFrameExtents = 0;
    std::uint32_t netActiveWindow = 0;
    std::uint32_t netClientList = 0;
    std::uint32_t netClientListStacking = 0;
    std::uint32_t netStartupId = 0;
    std::uint32_t netSupportingWmCheck = 0;
    std::uint32_t netWmName = 0;
    std::uint32_t netWmPid = 0;
    std::uint32_t netWmState = 0;
    std::uint32_t netWmStateAbove = 0;
    std::uint32_t netWmStateHidden = 0;
    std::uint32_t netWmStateShaded = 0;
    std::uint32_t netWmWindowType = 0;
    std::uint32_t typeDesktop = 0;
    std::uint32_t typeDock = 0;
    std::uint32_t typeToolbar = 0;
    std::uint32_t typeMenu = 0;
    std::uint32_t typeUtility = 0;
    std::uint32_t typeSplash = 0;
    std::uint32_t typeDialog = 0;
    std::uint32_t typeDropdownMenu = 0;
    std::uint32_t typePopupMenu = 0;
    std::uint32_t typeTooltip = 0;
    std::uint32_t typeNotification = 0;
    std::uint32_t typeCombo = 0;
    std::uint32_t typeDragged = 0;
    std::uint32_t typeNormal = 0;
    std::uint32_t compositor = 0; ///< the selection that a compositing manager owns

    /// Interns all of them in one round trip.
    static X11Atoms intern(xcb_connection_t* connection, int screenNumber);
};

} // namespace zelvo
