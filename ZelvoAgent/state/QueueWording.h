#pragma once

#include "state/QueuedCommandsOffer.h"

#include <cstddef>
#include <string>

/// Words about commands that waited.
namespace zelvo::QueueWording {

/// How many wait.
std::string waiting(std::size_t count);
/// Who offers, and how many.
std::string title(QueuedCommandsOffer const& offer);
/// What the first of them do, a line each, and how many more there are.
std::string list(QueuedCommandsOffer const& offer);

} // namespace zelvo::QueueWording
