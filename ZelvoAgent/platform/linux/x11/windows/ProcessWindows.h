#pragma once

#include "platform/linux/screen/ProcessWindow.h"

#include <cstdint>
#include <vector>

namespace zelvo {

class X11Connection;
struct WindowSurvey;

/// The windows of a process that are mapped, those embedded in other processes' windows too, front to back.
/// Blocks for a round trip; empty when the server is gone.
std::vector<ProcessWindow>
processWindows(X11Connection const& connection, WindowSurvey const& survey, std::int32_t pid);

} // namespace zelvo
