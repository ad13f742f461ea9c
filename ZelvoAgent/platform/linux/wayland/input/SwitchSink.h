#pragma once

#include "platform/EventPosting.h"
#include "platform/linux/input/HeldInput.h"
#include "platform/linux/input/KeyTable.h"
#include "platform/linux/wayland/InputSink.h"

#include <functional>
#include <vector>

namespace zelvo {

/// Presses and releases buttons and keys through the door that is open at the moment, and knows what it holds
/// down. Keycodes and buttons are numbered as HeldInput does. Thread: as InputSink.
class SwitchSink {
public:
    /// sink  null while there is no door
    explicit SwitchSink(std::function<InputSink*()> sink) : sink(std::move(sink)) {}

    /// The door, if events can be made now; else null.
    InputSink* door() const;
    Task<bool> moveTo(LogicalPoint point);
    Task<bool> press(InputSwitch what, std::vector<std::uint8_t> modifiers);
    Task<bool> release(InputSwitch what);
    Task<bool> scroll(ScrollEvent event);
    /// A key and its modifiers, down and up.
    Task<bool> strike(KeyStroke stroke);
    Task<> releaseAll();

private:
    Task<bool> perform(std::vector<InputStep> steps);

    std::function<InputSink*()> sink;
    HeldInput held;
};

/// A pointer's button.
InputSwitch switchOf(MouseButton button);

} // namespace zelvo
