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
    Task<bool> moveTo(LogicalPoint point) const;
    Task<bool> press(InputSwitch what, std::vector<std::uint8_t> modifiers);
    Task<bool> release(InputSwitch what);
    Task<bool> scroll(ScrollEvent event) const;
    /// Asked before each key of a text; see EventPosting::setMayContinue(). Set at start.
    void setMayContinue(std::function<Task<bool>()> ask) { askToContinue = std::move(ask); }
    /// Whether the text may go on. Once it may not, it may not until beginPiece().
    Task<bool> mayContinue();
    void beginPiece() { isStopped = false; }
    /// Whether the piece had to end before it was typed.
    bool wasStopped() const { return isStopped; }
    /// A key of a text and its modifiers, down and up. False also if the text may not go on.
    Task<bool> strike(KeyStroke stroke);
    Task<> releaseAll();

private:
    Task<bool> perform(std::vector<InputStep> steps) const;

    std::function<InputSink*()> sink;
    std::function<Task<bool>()> askToContinue;
    bool isStopped = false;
    HeldInput held;
};

/// A pointer's button.
InputSwitch switchOf(MouseButton button);

} // namespace zelvo
