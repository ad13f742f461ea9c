#pragma once

#include "platform/linux/wayland/shell/ShellLink.h"

#include <cstdint>
#include <optional>

namespace zelvo {

/// The active keyboard layout of GNOME Shell, by its number in the keymap of the seat. `nullopt` if our
/// extension does not answer, or while an input method decides what keys type. Blocks for at most half a
/// second. Thread: any.
std::optional<std::uint32_t> activeShellLayout(ShellLink& link);

} // namespace zelvo
