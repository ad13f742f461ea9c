#pragma once

#include "base/Contexts.h"
#include "platform/linux/wayland/client/WaylandClient.h"
#include "platform/linux/wayland/client/WaylandEvents.h"

#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// The keymap of the compositor's first seat, kept up to date by its events. Thread: any.
class SeatKeymaps {
public:
    /// Reads the keymap once, which blocks for a moment.
    /// client  a connection that nothing else reads; null: there is no keymap
    SeatKeymaps(Contexts const& contexts, std::shared_ptr<WaylandClient> client);
    ~SeatKeymaps();

    /// In the text format of xkbcommon; empty if there is no keyboard. Takes a lock only.
    std::string current() const;

private:
    struct State;
    std::shared_ptr<State> state;
    std::optional<WaylandEvents> events;
};

/// Whether the light of Caps Lock is on, on any keyboard of this machine. No protocol says it to programs
/// without the keyboard focus. Reads /sys.
bool isCapsLockLit();

} // namespace zelvo
