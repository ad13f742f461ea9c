#pragma once

#include <cstdint>
#include <vector>

namespace zelvo {

/// A button or a key of the X server, by its number.
struct InputSwitch {
    enum class Kind : std::uint8_t { key, button };
    Kind kind = Kind::key;
    std::uint8_t code = 0;
    bool operator==(InputSwitch const&) const = default;
};

/// One press or release to be made.
struct InputStep {
    InputSwitch what;
    bool down = false;
    bool operator==(InputStep const&) const = default;
};

/// Knows which buttons, keys and modifier keys our events hold down, and so which presses and releases an
/// event takes.
class HeldInput {
public:
    /// Presses a switch with modifier keys around it. `modifiers` come in the order in which they are
    /// pressed, without those that somebody else already holds; what we hold ourselves is not pressed twice.
    std::vector<InputStep> down(InputSwitch what, std::vector<std::uint8_t> const& modifiers);
    /// Releases a switch, held or not, and after it the modifiers that were pressed for it and that nothing
    /// else needs.
    std::vector<InputStep> up(InputSwitch what);
    /// Releases all there is: buttons, keys, then modifiers, the last pressed first.
    std::vector<InputStep> releaseAll();

    bool holdsKey(std::uint8_t keycode) const;
    /// Everything that is down because of us, in the order in which it was pressed.
    std::vector<InputSwitch> const& held() const { return pressed; }

private:
    struct Need {
        InputSwitch by;
        std::vector<std::uint8_t> modifiers;
    };

    bool isPressed(InputSwitch what) const;
    bool isNeeded(std::uint8_t modifier) const;
    void release(InputSwitch what, std::vector<InputStep>& steps);

    std::vector<InputSwitch> pressed;
    std::vector<Need> needs;
};

} // namespace zelvo
