#pragma once

#include "platform/linux/wayland/client/WaylandClient.h"

#include <cstdint>
#include <memory>
#include <set>
#include <string>

struct wl_seat;                         // NOLINT(readability-identifier-naming): libwayland names it.
struct xkb_context;                     // NOLINT(readability-identifier-naming): libxkbcommon names it.
struct xkb_state;                       // NOLINT(readability-identifier-naming): libxkbcommon names it.
struct zwp_virtual_keyboard_manager_v1; // NOLINT(readability-identifier-naming): wayland-scanner names it.
struct zwp_virtual_keyboard_v1;         // NOLINT(readability-identifier-naming): wayland-scanner names it.

namespace zelvo {

/// A keyboard with a keymap of our choice. The compositor leaves its modifiers to us. It releases every key
/// that is held when it ends. Thread: the one that reads the connection. Requests are sent with the next
/// flush.
class VirtualKeyboard {
public:
    VirtualKeyboard(zwp_virtual_keyboard_manager_v1* manager, wl_seat* seat);
    ~VirtualKeyboard();
    VirtualKeyboard(VirtualKeyboard const&) = delete;
    VirtualKeyboard& operator=(VirtualKeyboard const&) = delete;

    /// Releases what is held and takes up a keymap. False, with nothing changed, if it is none.
    bool setKeymap(std::string const& text);
    bool hasKeymap() const { return state != nullptr; }
    /// key  the kernel's number. Does nothing without a keymap.
    void key(int key, bool isDown);
    /// Makes this keyboard's keymap the seat's again after another keyboard was used.
    void takeSeat();

private:
    void sendModifiers();

    zwp_virtual_keyboard_v1* keyboard;
    std::shared_ptr<xkb_context> context;
    std::shared_ptr<xkb_state> state;
    std::set<int> held;
};

/// Milliseconds for the time stamps of events.
std::uint32_t eventTime();

} // namespace zelvo
