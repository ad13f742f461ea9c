#pragma once

#include "state/QueuedCommandsOffer.h"

#include <cstddef>
#include <string>

/// The texts about queued commands, in the person's language.
namespace zelvo::QueueWording {

/// How many commands wait.
std::string waiting(std::size_t count);
/// Which platform offers commands, and how many.
std::string title(QueuedCommandsOffer const& offer);
/// One line for each of the first commands, then how many more there are.
std::string list(QueuedCommandsOffer const& offer);

} // namespace zelvo::QueueWording
