#include "platform/linux/x11/input/Keyboard.h"

#include "platform/linux/input/KeyReadings.h"
#include "platform/linux/x11/input/XkbProtocol.h"

namespace zelvo {

Keyboard::Keyboard(InputConnection& connection) : connection(connection) {}

bool Keyboard::refresh()
{
    KeyboardState const before = state;
    if (!readState()) // Its reply comes after every event that tells of an earlier change.
        return false;
    connection.pump();
    bool const stale = connection.keymapChanged || !keymap;
    if (stale && !readKeymap())
        return false;
    if (stale || state != before)
        table = KeyTable(keymap.get(), state, modifiers);
    return true;
}

bool Keyboard::readState()
{
    auto const cookie = xcb_xkb_get_state(connection.raw(), XCB_XKB_ID_USE_CORE_KBD);
    XReply<xcb_xkb_get_state_reply_t> const reply(xcb_xkb_get_state_reply(connection.raw(), cookie, nullptr));
    if (!reply)
        return false;
    state = {.baseModifiers = reply->baseMods,
             .latchedModifiers = reply->latchedMods,
             .lockedModifiers = reply->lockedMods,
             .baseGroup = static_cast<std::uint32_t>(reply->baseGroup),
             .latchedGroup = static_cast<std::uint32_t>(reply->latchedGroup),
             .lockedGroup = reply->lockedGroup};
    return true;
}

bool Keyboard::readKeymap()
{
    connection.keymapChanged = false;
    KeymapPtr fresh = readServerKeymap(connection);
    if (!fresh)
        return false;
    keymap = std::move(fresh);
    modifiers = ModifierKeys::of(keymap.get());
    return true;
}

std::vector<std::vector<std::string>> Keyboard::readings(std::uint8_t keycode, ModifierFlags flags) const
{
    return readingsOf(keymap.get(), state, modifiers, keycode, flags);
}

bool Keyboard::holdsCommandModifier() const
{
    return (state.baseModifiers & (modifiers.controlMask | modifiers.altMask | modifiers.superMask)) != 0;
}

UsableLevels Keyboard::usableLevels() const
{
    return state.baseModifiers & modifiers.shiftMask ? UsableLevels::one : UsableLevels::two;
}

} // namespace zelvo
