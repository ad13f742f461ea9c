#pragma once

#include "platform/linux/wayland/WindowSource.h"

#include <optional>
#include <string_view>
#include <vector>

namespace zelvo {

/// The windows in sway's reply to GET_TREE, back to front. `nullopt` if it is no such tree. What is missing
/// in it, or of another type, is left empty.
///
/// Limits of the tree: it has no layer surfaces (panels, launchers, notifications), no pop-ups, no X11
/// windows without management, and no parent of a Wayland window. The shadows that a program draws are not
/// known, so `surface` is what sway shows of the window. The title of a window among tabs is not part of its
/// frame.
std::optional<std::vector<CompositorWindow>> windowsOfTree(std::string_view text);

/// Whether every command in sway's reply to RUN_COMMAND succeeded.
bool hasSucceeded(std::string_view reply);

} // namespace zelvo
