#pragma once

#include "platform/SessionEvents.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// What logind says of the session on our display.
struct LoginFacts {
    bool isActive = false;
    bool isLocked = false;
    bool operator==(LoginFacts const&) const = default;
};

/// All that is known of the person's session.
struct SessionFacts {
    std::optional<LoginFacts> login;    ///< nothing without logind or without a session of our display
    std::set<std::string> activeSavers; ///< bus names of the screen savers that hide the screen
    bool operator==(SessionFacts const&) const = default;

    bool isLocked() const { return !activeSavers.empty() || (login && login->isLocked); }
};

/// What the facts come to; `displayReachable` decides where there is no session to ask.
Availability availabilityOf(SessionFacts const& facts, bool displayReachable);
/// What an observer is told of a change, in this order.
std::vector<SessionEvent>
eventsBetween(SessionFacts const& before, SessionFacts const& after, bool displayReachable);

/// The display of a DISPLAY text without its screen, ":0" for ":0.0" and "unix:0"; empty when it names none.
std::string displayOf(std::string_view text);

} // namespace zelvo
