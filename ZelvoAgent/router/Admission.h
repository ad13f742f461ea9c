#pragma once

#include "confirm/ConfirmationPolicy.h"
#include "state/GrantedConnection.h"
#include "wire/AgentScope.h"
#include "wire/RpcFrame.h"

#include <optional>
#include <string>

namespace zelvo {

/// On whose behalf the person is asked, and which kinds of action need a yes.
struct Asker {
    std::string platformName;
    ConfirmationPolicy policy;
    std::optional<AgentScope> scope = {}; ///< what the command needs; nullopt for none
    std::optional<std::string> connectionId = {};
};

/// A command that passed the checks, with what they established. A handler takes these facts as they are and
/// looks nothing up again, except what may change while it waits.
struct Admission {
    RpcFrame frame;
    std::optional<GrantedConnection> connection; ///< nullopt if the frame names none that is granted
    std::optional<Asker> asker;                  ///< nullopt if the person is not asked about this command

    /// Empty without a connection.
    std::string platformName() const { return connection ? connection->platformName : ""; }
    /// The beginning of the agent's name, as the log keeps it: an agent may give a name of any length.
    std::optional<std::string> loggedAgentName() const;
};

} // namespace zelvo
