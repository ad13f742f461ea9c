#pragma once

#include "platform/WindowList.h"
#include "platform/linux/screen/DisplayLayout.h"
#include "platform/linux/x11/windows/WindowOwners.h"

namespace zelvo {

/// The entries of the window list, front to back: which windows have one, their layers and their bounds.
std::vector<WindowEntry>
windowEntries(WindowSurvey const& survey, WindowOwners const& owners, DisplayLayout const& layout);

} // namespace zelvo
