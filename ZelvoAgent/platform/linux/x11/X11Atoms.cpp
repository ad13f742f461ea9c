#include "platform/linux/x11/X11Atoms.h"

#include "platform/linux/x11/XReply.h"

#include <xcb/xcb.h>

#include <string>
#include <utility>
#include <vector>

namespace zelvo {

X11Atoms X11Atoms::intern(xcb_connection_t* connection, int screenNumber)
{
    X11Atoms atoms;
    std::vector<std::pair<std::string, std::uint32_t*>> const wanted = {
        {"UTF8_STRING", &atoms.utf8String},
        {"WM_CLIENT_LEADER", &atoms.wmClientLeader},
        {"WM_STATE", &atoms.wmState},
        {"_GTK_APPLICATION_ID", &atoms.gtkApplicationId},
        {"_KDE_NET_WM_DESKTOP_FILE", &atoms.kdeDesktopFile},
        {"_GTK_FRAME_EXTENTS", &atoms.gtkFrameExtents},
        {"_NET_ACTIVE_WINDOW", &atoms.netActiveWindow},
        {"_NET_CLIENT_LIST", &atoms.netClientList},
        {"_NET_CLIENT_LIST_STACKING", &atoms.netClientListStacking},
        {"_NET_STARTUP_ID", &atoms.netStartupId},
        {"_NET_SUPPORTING_WM_CHECK", &atoms.netSupportingWmCheck},
        {"_NET_WM_NAME", &atoms.netWmName},
        {"_NET_WM_PID", &atoms.netWmPid},
        {"_NET_WM_STATE", &atoms.netWmState},
        {"_NET_WM_STATE_ABOVE", &atoms.netWmStateAbove},
        {"_NET_WM_STATE_HIDDEN", &atoms.netWmStateHidden},
        {"_NET_WM_STATE_SHADED", &atoms.netWmStateShaded},
        {"_NET_WM_WINDOW_TYPE", &atoms.netWmWindowType},
        {"_NET_WM_WINDOW_TYPE_DESKTOP", &atoms.typeDesktop},
        {"_NET_WM_WINDOW_TYPE_DOCK", &atoms.typeDock},
        {"_NET_WM_WINDOW_TYPE_TOOLBAR", &atoms.typeToolbar},
        {"_NET_WM_WINDOW_TYPE_MENU", &atoms.typeMenu},
        {"_NET_WM_WINDOW_TYPE_UTILITY", &atoms.typeUtility},
        {"_NET_WM_WINDOW_TYPE_SPLASH", &atoms.typeSplash},
        {"_NET_WM_WINDOW_TYPE_DIALOG", &atoms.typeDialog},
        {"_NET_WM_WINDOW_TYPE_DROPDOWN_MENU", &atoms.typeDropdownMenu},
        {"_NET_WM_WINDOW_TYPE_POPUP_MENU", &atoms.typePopupMenu},
        {"_NET_WM_WINDOW_TYPE_TOOLTIP", &atoms.typeTooltip},
        {"_NET_WM_WINDOW_TYPE_NOTIFICATION", &atoms.typeNotification},
        {"_NET_WM_WINDOW_TYPE_COMBO", &atoms.typeCombo},
        {"_NET_WM_WINDOW_TYPE_DND", &atoms.typeDragged},
        {"_NET_WM_WINDOW_TYPE_NORMAL", &atoms.typeNormal},
        {"_NET_WM_CM_S" + std::to_string(screenNumber), &atoms.compositor},
    };
    std::vector<xcb_intern_atom_cookie_t> cookies;
    cookies.reserve(wanted.size());
    for (auto const& [name, atom] : wanted)
        cookies.push_back(
            xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()));
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        XReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookies[i], nullptr));
        *wanted[i].second = reply ? reply->atom : 0;
    }
    return atoms;
}

} // namespace zelvo
