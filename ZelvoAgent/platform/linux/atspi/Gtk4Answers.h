#pragma once

#include "platform/linux/atspi/AtspiNodes.h"

namespace zelvo {

/// Gives a GTK 4 answer the meaning that it has in other toolkits. GTK 4 sets "showing" for its windows only
/// and "enabled" for nothing, so "visible" and "sensitive" stand in; elements that are not shown are not in
/// its tree. It also uses the class as the name of an unnamed element.
void correctGtk4Answer(AtspiNode& node, AtspiQuestion question);

} // namespace zelvo
