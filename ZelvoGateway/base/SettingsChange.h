#pragma once

#include "ZelvoGateway/base/Flags.h"

#include <string>
#include <vector>

namespace zelvo::service {

/// What a configuration file that was read again changes.
struct SettingsChange {
    std::vector<std::string> taken; ///< names of changed settings that a running gateway takes
    std::vector<std::string> kept;  ///< names of those that wait for its next start

    bool isEmpty() const { return taken.empty() && kept.empty(); }
    /// "platform-name changed; port changes with the next start".
    std::string text() const;
    bool operator==(SettingsChange const&) const = default;
};

/// running   what the running gateway uses
/// next      what is given now
SettingsChange changeBetween(GivenValues const& running, GivenValues const& next);
/// What the gateway uses once it took the change.
GivenValues takenFrom(GivenValues running, GivenValues const& next);

} // namespace zelvo::service
