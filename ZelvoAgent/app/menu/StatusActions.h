#pragma once

#include "app/AppServices.h"
#include "state/AgentStatus.h"

namespace zelvo::StatusActions {

/// Does what the person chose by the button of the status. Thread: main.
void perform(AgentStatus::Action action, AppServices const& services);

} // namespace zelvo::StatusActions
