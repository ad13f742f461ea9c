#include "platform/linux/input/HeldInput.h"

#include <algorithm>
#include <ranges>

namespace zelvo {

namespace {

InputSwitch key(std::uint8_t keycode)
{
    return {InputSwitch::Kind::key, keycode};
}

} // namespace

std::vector<InputStep> HeldInput::down(InputSwitch what, std::vector<std::uint8_t> const& modifiers)
{
    std::vector<InputStep> steps;
    for (std::uint8_t const modifier : modifiers) {
        if (isPressed(key(modifier)))
            continue;
        pressed.push_back(key(modifier));
        steps.push_back({key(modifier), true});
    }
    if (!modifiers.empty())
        needs.push_back({what, modifiers});
    if (!isPressed(what))
        pressed.push_back(what);
    steps.push_back({what, true});
    return steps;
}

std::vector<InputStep> HeldInput::up(InputSwitch what)
{
    std::vector<InputStep> steps;
    release(what, steps);
    std::vector<std::uint8_t> free;
    for (Need const& need : needs)
        if (need.by == what)
            free.insert(free.end(), need.modifiers.begin(), need.modifiers.end());
    std::erase_if(needs, [what](Need const& need) { return need.by == what; });
    for (std::uint8_t const modifier : std::views::reverse(free))
        if (isPressed(key(modifier)) && !isNeeded(modifier))
            release(key(modifier), steps);
    return steps;
}

std::vector<InputStep> HeldInput::releaseAll()
{
    auto const isModifier = [this](InputSwitch what) {
        return what.kind == InputSwitch::Kind::key && isNeeded(what.code);
    };
    std::vector<InputStep> steps;
    for (InputSwitch const what : std::views::reverse(pressed))
        if (!isModifier(what))
            steps.push_back({what, false});
    for (InputSwitch const what : std::views::reverse(pressed))
        if (isModifier(what))
            steps.push_back({what, false});
    pressed.clear();
    needs.clear();
    return steps;
}

bool HeldInput::holdsKey(std::uint8_t keycode) const
{
    return isPressed(key(keycode));
}

bool HeldInput::isPressed(InputSwitch what) const
{
    return std::ranges::find(pressed, what) != pressed.end();
}

bool HeldInput::isNeeded(std::uint8_t modifier) const
{
    return std::ranges::any_of(needs, [modifier](Need const& need) {
        return std::ranges::find(need.modifiers, modifier) != need.modifiers.end();
    });
}

void HeldInput::release(InputSwitch what, std::vector<InputStep>& steps)
{
    std::erase(pressed, what);
    steps.push_back({what, false});
}

} // namespace zelvo
