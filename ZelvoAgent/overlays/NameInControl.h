#pragma once

#include "state/ComputerAgents.h"

#include <optional>
#include <string>

namespace zelvo {

/// The name of the agent in control, fit for one line on the screen; `nullopt` if none is known. The name is
/// the agent's own choice.
std::optional<std::string> nameInControl(ComputerAgents const& agents);

} // namespace zelvo
