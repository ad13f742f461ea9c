#pragma once

#include "platform/linux/atspi/AtspiNodes.h"

namespace zelvo {

/// Makes an answer of GTK 4 mean what other toolkits mean by it. It calls nothing but its windows showing,
/// and nothing enabled: visible and sensitive are what it has, and what is not shown it keeps out of its
/// trees. And it calls an element that has no name by its class.
void correctGtk4Answer(AtspiNode& node, AtspiQuestion question);

} // namespace zelvo
