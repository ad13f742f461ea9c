#include "router/ShownInput.h"

#include "base/Hop.h"
#include "base/Text.h"

namespace zelvo {

Task<> ShownInput::perform(InputAction::Move action)
{
    co_await cursor.approach(action.point);
    co_await input.move(action.point);
}

Task<> ShownInput::perform(InputAction::Click action, InputDriving::Before beforeNext)
{
    co_await cursor.approach(action.point);
    co_await input.click(action.point, action.button, action.count, action.modifiers, std::move(beforeNext));
    cursor.clicked(action.point, action.count);
}

Task<> ShownInput::perform(InputAction::MouseDown action)
{
    co_await cursor.approach(action.point);
    co_await input.mouseDown(action.point, action.button);
    cursor.clicked(action.point, 1);
}

Task<> ShownInput::perform(InputAction::MouseUp action)
{
    co_await cursor.approach(action.point);
    co_await input.mouseUp(action.point, action.button);
}

Task<> ShownInput::perform(InputAction::Drag action)
{
    co_await cursor.approach(action.from);
    cursor.dragged(action.from, action.to, action.durationMs);
    co_await input.drag(action.from, action.to, action.button, action.durationMs);
}

Task<bool> ShownInput::begin(InputAction::Drag action)
{
    co_await cursor.approach(action.from);
    cursor.dragged(action.from, action.to, action.durationMs);
    co_return co_await input.dragHeld(action.from, action.to, action.button, action.durationMs);
}

Task<> ShownInput::perform(InputAction::Scroll action)
{
    co_await cursor.approach(action.point);
    co_await input.scroll(action.point, action.dx, action.dy);
    cursor.scrolled(action.point);
}

Task<> ShownInput::perform(InputAction::Type action)
{
    // Counting a long text takes time, and the agent's thread has the socket to look after.
    cursor.typed(co_await on(workers, [&] { return text::characterCount(action.text); }));
    co_await input.type(std::move(action.text));
}

Task<> ShownInput::perform(InputAction::Type action, InputDriving::BeforePiece before)
{
    cursor.typed(co_await on(workers, [&] { return text::characterCount(action.text); }));
    co_await input.type(std::move(action.text), std::move(before));
}

Task<> ShownInput::perform(InputAction::Key action)
{
    cursor.pressed(action.keys);
    co_await input.pressKeys(action.keys);
}

} // namespace zelvo
