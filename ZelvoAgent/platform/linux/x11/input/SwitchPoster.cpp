#include "platform/linux/x11/input/SwitchPoster.h"

#include "platform/linux/input/KeyPositions.h"
#include "platform/linux/input/WheelClicks.h"

#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace zelvo {

namespace {

constexpr std::uint32_t buttonBit = 0x100;

InputSwitch buttonOf(MouseButton button)
{
    std::uint8_t number = 1;
    if (button == MouseButton::middle)
        number = 2;
    else if (button == MouseButton::right)
        number = 3;
    return {InputSwitch::Kind::button, number};
}

std::uint32_t recorded(InputSwitch what)
{
    return what.code | (what.kind == InputSwitch::Kind::button ? buttonBit : 0);
}

InputSwitch fromRecord(std::uint32_t value)
{
    auto const kind = value & buttonBit ? InputSwitch::Kind::button : InputSwitch::Kind::key;
    return {kind, static_cast<std::uint8_t>(value)};
}

bool hasModifiers(ModifierFlags flags)
{
    return flags.cmd || flags.ctrl || flags.alt || flags.shift;
}

} // namespace

SwitchPoster::SwitchPoster(InputConnection& connection, Keyboard& keyboard)
    : connection(connection), keyboard(keyboard), heldAtom(connection.atom("_ZELVO_AGENT_HELD_INPUT"))
{
}

void SwitchPoster::recover()
{
    for (std::uint32_t const value : connection.property(connection.root(), heldAtom))
        fake({fromRecord(value), false});
    connection.deleteRootProperty(heldAtom);
    connection.flush();
}

bool SwitchPoster::post(MouseEvent const& event, DisplayLayout const& layout)
{
    moveTo(layout.toPixels(event.point));
    bool made = true;
    if (event.kind == MouseEvent::Kind::down)
        made = press(buttonOf(event.button), event.flags);
    else if (event.kind == MouseEvent::Kind::up) {
        InputSwitch const button = buttonOf(event.button);
        release(button);
        released = static_cast<std::uint16_t>(XCB_BUTTON_MASK_1 << (button.code - 1));
    }
    connection.flush();
    return made;
}

bool SwitchPoster::post(KeyEvent const& event)
{
    auto const keycode = keycodeAtPosition(event.keyCode);
    if (!keycode)
        return false;
    InputSwitch const key{InputSwitch::Kind::key, *keycode};
    bool made = true;
    if (event.kind == KeyEvent::Kind::down)
        made = press(key, event.flags);
    else
        release(key);
    connection.flush();
    return made;
}

bool SwitchPoster::hasTakenRelease()
{
    if (released == 0)
        return true;
    auto const cookie = xcb_query_pointer(connection.raw(), connection.root());
    XReply<xcb_query_pointer_reply_t> const pointer(
        xcb_query_pointer_reply(connection.raw(), cookie, nullptr));
    if (pointer && (pointer->mask & released) != 0)
        return false;
    released = 0;
    return true;
}

void SwitchPoster::post(ScrollEvent const& event)
{
    for (WheelClicks const& clicks : wheelClicks(event)) {
        InputSwitch const wheel{InputSwitch::Kind::button, clicks.button};
        for (int click = 0; click < clicks.count; ++click) {
            fake({wheel, true});
            fake({wheel, false});
        }
    }
    connection.flush();
}

void SwitchPoster::releaseAll()
{
    perform(held.releaseAll());
    connection.roundTrip();
}

bool SwitchPoster::press(InputSwitch what, ModifierFlags flags)
{
    std::vector<std::uint8_t> modifiers;
    if (hasModifiers(flags)) {
        if (!keyboard.refresh())
            return false;
        modifiers = keyboard.modifiersToPress(flags, [this](std::uint8_t key) { return held.holdsKey(key); });
    }
    perform(held.down(what, modifiers));
    return true;
}

void SwitchPoster::release(InputSwitch what)
{
    perform(held.up(what));
}

void SwitchPoster::perform(std::vector<InputStep> const& steps)
{
    std::vector<std::uint32_t> record;
    for (InputSwitch const what : held.held())
        record.push_back(recorded(what));
    // Said before something is pressed and taken back after it is released: a kill in between leaves too
    // much, not too little.
    if (!record.empty())
        connection.setRootProperty(heldAtom, record);
    for (InputStep const step : steps)
        fake(step);
    if (record.empty() && !steps.empty())
        connection.deleteRootProperty(heldAtom);
}

void SwitchPoster::moveTo(PixelPoint pixel)
{
    xcb_test_fake_input(connection.raw(), XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, connection.root(),
                        static_cast<std::int16_t>(pixel.x), static_cast<std::int16_t>(pixel.y), 0);
}

void SwitchPoster::fake(InputStep step)
{
    bool const key = step.what.kind == InputSwitch::Kind::key;
    int const down = key ? XCB_KEY_PRESS : XCB_BUTTON_PRESS;
    int const up = key ? XCB_KEY_RELEASE : XCB_BUTTON_RELEASE;
    xcb_test_fake_input(connection.raw(), static_cast<std::uint8_t>(step.down ? down : up), step.what.code,
                        XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
}

} // namespace zelvo
