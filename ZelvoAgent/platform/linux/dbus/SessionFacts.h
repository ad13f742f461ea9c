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

/// The display in a DISPLAY text without its screen, ":0" for ":0.0" and "unix:0"; empty if it names none.
std::string displayOf(std::string_view text);

} // namespace zelvo
