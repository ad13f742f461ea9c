#pragma once

#include "platform/linux/x11/input/InputConnection.h"

#include <memory>

struct xkb_keymap;

namespace zelvo {

struct ReleaseKeymap {
    void operator()(xkb_keymap* keymap) const noexcept;
};
using KeymapPtr = std::unique_ptr<xkb_keymap, ReleaseKeymap>;

/// The keymap of the core keyboard as it is now; nothing when it could not be read. Takes a few round trips.
KeymapPtr readServerKeymap(InputConnection& connection);

} // namespace zelvo
