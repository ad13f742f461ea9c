#pragma once

#include "platform/SessionEvents.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// What logind reports about the session of our display.
struct LoginFacts {
    bool isActive = false;
    bool isLocked = false;
    bool operator==(LoginFacts const&) const = default;
};

/// Everything known about the user's session.
struct SessionFacts {
    std::optional<LoginFacts> login;    ///< `nullopt` without logind or without a session for our display
    std::set<std::string> activeSavers; ///< bus names of the screen savers that hide the screen
    bool operator==(SessionFacts const&) const = default;

    bool isLocked() const { return !activeSavers.empty() || (login && login->isLocked); }
};

/// The availability that follows from the facts; `displayReachable` decides if there is no session.
Availability availabilityOf(SessionFacts const& facts, bool displayReachable);
/// The events that describe a change, in order.
std::vector<SessionEvent>
eventsBetween(SessionFacts const& before, SessionFacts const& after, bool displayReachable);

/// The login session that this program is looking for.
struct OwnSession {
    std::string display = {}; ///< of an X session, by displayOf(); empty if there is none
    bool isWayland = false;   ///< then the display does not matter
    std::string id = {};      ///< logind's, if it is known (XDG_SESSION_ID)
};

/// What logind says of a session.
struct LoginCandidate {
    std::string id;
    std::string display; ///< by displayOf()
    std::string type;    ///< "x11", "wayland", "tty"
    bool isEnding = false;
    bool isActive = false;
    bool isOurs = false; ///< of this person
};

/// The higher, the likelier it is ours: an open session before a closing one, ours before another person's.
/// Below 0: it is another one. Wayland sessions of other people never are, because they have no display to
/// compare.
int rankOf(LoginCandidate const& candidate, OwnSession const& own);

/// The display in a DISPLAY text without its screen, ":0" for ":0.0" and "unix:0"; empty if it names none.
std::string displayOf(std::string_view text);

} // namespace zelvo
