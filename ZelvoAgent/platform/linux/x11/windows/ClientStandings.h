#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace zelvo {

class X11Connection;

/// What a client's window says of its place among windows.
struct ClientStanding {
    bool regular = false;   ///< in the window manager's care, and a normal window or a dialog
    bool minimised = false; ///< only its icon is to be seen
    bool shaded = false;    ///< only its title bar is to be seen
    std::string startupId;  ///< of the start that it came from
};

/// The windows in the window manager's care.
struct ManagedWindows {
    std::vector<std::uint32_t> oldestFirst;
    std::vector<std::uint32_t> bottomToTop;
};

/// Asks all windows in one round trip. Without a window manager no window is regular.
std::map<std::uint32_t, ClientStanding> clientStandings(X11Connection const& connection,
                                                        std::vector<std::uint32_t> const& windows);

ManagedWindows managedWindows(X11Connection const& connection);

} // namespace zelvo
