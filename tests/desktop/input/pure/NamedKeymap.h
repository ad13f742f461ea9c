#pragma once

#include "platform/linux/x11/input/ServerKeymap.h"

#include <xkbcommon/xkbcommon.h>

namespace zelvo::test {

/// The keymap of a layout ("us,ru"), compiled without a server.
inline KeymapPtr keymapOf(char const* layout, char const* variant = "")
{
    xkb_context* const context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    xkb_rule_names const names{"evdev", "pc105", layout, variant, ""};
    KeymapPtr keymap(xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
    xkb_context_unref(context);
    return keymap;
}

} // namespace zelvo::test
