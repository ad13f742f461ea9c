#include "platform/linux/wayland/wlr/VirtualKeyboard.h"

#include "virtual-keyboard-unstable-v1-client-protocol.h"

#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client-protocol.h>
#include <xkbcommon/xkbcommon.h>

#include <chrono>
#include <utility>

namespace zelvo {

namespace {

/// The text, with its final zero, in a file without a name; -1 if there is no memory.
int fileWith(std::string const& text)
{
    int const file = ::memfd_create("zelvo-keymap", MFD_CLOEXEC);
    if (file < 0)
        return -1;
    if (::write(file, text.c_str(), text.size() + 1) == static_cast<ssize_t>(text.size() + 1))
        return file;
    ::close(file);
    return -1;
}

} // namespace

std::uint32_t eventTime()
{
    using namespace std::chrono;
    return static_cast<std::uint32_t>(
        duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

VirtualKeyboard::VirtualKeyboard(zwp_virtual_keyboard_manager_v1* manager, wl_seat* seat)
    : keyboard(zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(manager, seat)),
      context(xkb_context_new(XKB_CONTEXT_NO_FLAGS), xkb_context_unref)
{
}

VirtualKeyboard::~VirtualKeyboard()
{
    for (int const down : std::set(held))
        key(down, false);
    zwp_virtual_keyboard_v1_destroy(keyboard);
}

bool VirtualKeyboard::setKeymap(std::string const& text)
{
    std::shared_ptr<xkb_keymap> const keymap(xkb_keymap_new_from_string(context.get(), text.c_str(),
                                                                        XKB_KEYMAP_FORMAT_TEXT_V1,
                                                                        XKB_KEYMAP_COMPILE_NO_FLAGS),
                                             xkb_keymap_unref);
    int const file = keymap ? fileWith(text) : -1;
    if (file < 0)
        return false;
    for (int const down : std::set(held))
        key(down, false);
    zwp_virtual_keyboard_v1_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file,
                                   static_cast<std::uint32_t>(text.size() + 1));
    ::close(file);
    state = std::shared_ptr<xkb_state>(xkb_state_new(keymap.get()), xkb_state_unref);
    sendModifiers();
    return true;
}

void VirtualKeyboard::key(int key, bool isDown)
{
    if (!state)
        return;
    zwp_virtual_keyboard_v1_key(keyboard, eventTime(), static_cast<std::uint32_t>(key),
                                isDown ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED);
    if (isDown)
        held.insert(key);
    else
        held.erase(key);
    auto const changed = xkb_state_update_key(state.get(), static_cast<xkb_keycode_t>(key + 8),
                                              isDown ? XKB_KEY_DOWN : XKB_KEY_UP);
    constexpr int sent = XKB_STATE_MODS_DEPRESSED | XKB_STATE_MODS_LATCHED | XKB_STATE_MODS_LOCKED |
                         XKB_STATE_LAYOUT_EFFECTIVE;
    if (changed & sent)
        sendModifiers();
}

void VirtualKeyboard::takeSeat()
{
    if (state)
        sendModifiers();
}

void VirtualKeyboard::sendModifiers()
{
    auto const mods = [&](xkb_state_component which) { return xkb_state_serialize_mods(state.get(), which); };
    zwp_virtual_keyboard_v1_modifiers(keyboard, mods(XKB_STATE_MODS_DEPRESSED), mods(XKB_STATE_MODS_LATCHED),
                                      mods(XKB_STATE_MODS_LOCKED),
                                      xkb_state_serialize_layout(state.get(), XKB_STATE_LAYOUT_EFFECTIVE));
}

} // namespace zelvo
