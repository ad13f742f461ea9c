#pragma once

#include "platform/EventPosting.h"
#include "platform/linux/input/HeldInput.h"
#include "platform/linux/screen/DisplayLayout.h"
#include "platform/linux/x11/input/InputConnection.h"
#include "platform/linux/x11/input/Keyboard.h"

#include <cstdint>
#include <vector>

namespace zelvo {

/// Moves the pointer, and presses and releases buttons and keys. What is held down stands in a property of
/// the root window, so that the next start can release what a killed process held. Thread: one caller at a
/// time; may block for a round trip.
class SwitchPoster {
public:
    SwitchPoster(InputConnection& connection, Keyboard& keyboard);

    /// Releases what an earlier process left held down.
    void recover();
    /// False when its modifiers could not be told.
    bool post(MouseEvent const& event, DisplayLayout const& layout);
    /// False for a code that no key has, or when the keyboard could not be read.
    bool post(KeyEvent const& event);
    void post(ScrollEvent const& event);
    /// Whether the server has carried out the last release of a button. A window manager that looks at each
    /// press first holds up what follows it, and presses that come meanwhile can get lost.
    bool hasTakenRelease();
    void releaseAll();

private:
    void moveTo(PixelPoint pixel);
    bool press(InputSwitch what, ModifierFlags flags);
    void release(InputSwitch what);
    void perform(std::vector<InputStep> const& steps);
    void fake(InputStep step);

    InputConnection& connection;
    Keyboard& keyboard;
    HeldInput held;
    std::uint32_t heldAtom;
    std::uint16_t released = 0; ///< the bit of the button that was released last, until it is seen to be up
};

} // namespace zelvo
