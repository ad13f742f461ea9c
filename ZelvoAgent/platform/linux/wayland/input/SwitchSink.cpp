#include "platform/linux/wayland/input/SwitchSink.h"

#include "platform/linux/input/WheelClicks.h"

#include <linux/input-event-codes.h>

namespace zelvo {

namespace {

constexpr int keycodeOffset = 8; // From the kernel's numbers to those of keymaps.

int kernelButton(std::uint8_t button)
{
    switch (button) {
    case 2:
        return BTN_MIDDLE;
    case 3:
        return BTN_RIGHT;
    default:
        return BTN_LEFT;
    }
}

} // namespace

InputSwitch switchOf(MouseButton button)
{
    std::uint8_t number = 1;
    if (button == MouseButton::middle)
        number = 2;
    else if (button == MouseButton::right)
        number = 3;
    return {InputSwitch::Kind::button, number};
}

InputSink* SwitchSink::door() const
{
    InputSink* const found = sink();
    return found && found->isReady() ? found : nullptr;
}

Task<bool> SwitchSink::moveTo(LogicalPoint point) const
{
    InputSink* const open = door();
    co_return open&& co_await open->moveTo(point);
}

Task<bool> SwitchSink::press(InputSwitch what, std::vector<std::uint8_t> modifiers)
{
    if (!door())
        co_return false; // Nothing is held down that cannot be pressed.
    co_return co_await perform(held.down(what, modifiers));
}

Task<bool> SwitchSink::release(InputSwitch what)
{
    co_return co_await perform(held.up(what));
}

Task<bool> SwitchSink::scroll(ScrollEvent event) const
{
    InputSink* const open = door();
    if (!open)
        co_return false;
    for (WheelClicks const& clicks : wheelClicks(event)) {
        bool const isVertical = clicks.button <= 5;
        int const direction = clicks.button % 2 ? 1 : -1; // 4 and 6 are up and left.
        for (int click = 0; click < clicks.count; ++click)
            if (!co_await open->scroll(isVertical ? direction : 0, isVertical ? 0 : direction))
                co_return false;
    }
    co_return true;
}

Task<bool> SwitchSink::mayContinue()
{
    isStopped = isStopped || (askToContinue && !co_await askToContinue());
    co_return !isStopped;
}

Task<bool> SwitchSink::strike(KeyStroke stroke)
{
    if (!co_await mayContinue())
        co_return false;
    InputSwitch const key{InputSwitch::Kind::key, stroke.keycode};
    bool const isDown = co_await press(key, std::move(stroke.modifiers));
    bool const isUp = co_await release(key);
    co_return isDown&& isUp;
}

Task<> SwitchSink::releaseAll()
{
    co_await perform(held.releaseAll());
}

Task<bool> SwitchSink::perform(std::vector<InputStep> steps) const
{
    bool made = true;
    // What cannot be released now is not held any more: the compositor releases it with the door.
    for (InputStep const& step : steps) {
        InputSink* const open = door();
        bool const done = open && (step.what.kind == InputSwitch::Kind::key
                                       ? co_await open->key(step.what.code - keycodeOffset, step.down)
                                       : co_await open->button(kernelButton(step.what.code), step.down));
        made = made && done;
    }
    co_return made;
}

} // namespace zelvo
