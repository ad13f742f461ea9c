#include "drivers/InputDriver.h"

#include "base/Text.h"
#include "drivers/Chord.h"
#include "drivers/KeyCodes.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>

namespace zelvo {

namespace {

constexpr std::size_t chunkCharacters = 20;
constexpr Duration chunkPause = 4ms;

MouseEvent mouse(MouseEvent::Kind kind, DesktopPoint point, MouseButton button)
{
    MouseEvent event;
    event.kind = kind;
    event.point = point;
    event.button = button;
    return event;
}

} // namespace

DragPlan DragPlan::of(std::int64_t durationMs)
{
    // Clamped, so that no number of milliseconds overflows the clock.
    std::int64_t const bounded = std::min<std::int64_t>(durationMs, std::numeric_limits<std::int32_t>::max());
    DragPlan plan;
    plan.steps = std::clamp<std::int64_t>(bounded / 16, 2, 60);
    plan.stepDelayMs = std::max<std::int64_t>(bounded / plan.steps, 1);
    return plan;
}

std::int32_t wheelPixels(double distance)
{
    if (std::isnan(distance))
        return 0;
    constexpr double minValue = std::numeric_limits<std::int32_t>::min();
    constexpr double maxValue = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(std::trunc(distance), minValue, maxValue));
}

InputDriver::InputDriver(EventPosting& events, Clock& clock) : events(events), clock(clock) {}

Task<> InputDriver::move(DesktopPoint to)
{
    PostedEvent const event = mouse(MouseEvent::Kind::moved, to, MouseButton::left);
    co_await events.post(event);
}

std::vector<std::string> textPieces(std::string const& text)
{
    std::vector<std::string> pieces(1);
    for (char const character : text) {
        std::string& piece = pieces.back();
        bool const endsLine = character == '\r' || (character == '\n' && !piece.ends_with('\r'));
        if ((endsLine || character == ' ') && (pieces.size() > 1 || !piece.empty()))
            pieces.emplace_back();
        pieces.back() += character;
    }
    return pieces;
}

Task<>
InputDriver::click(DesktopPoint at, MouseButton button, std::int64_t count, std::vector<Modifier> modifiers)
{
    return click(at, button, count, std::move(modifiers), {});
}

Task<> InputDriver::click(DesktopPoint at,
                          MouseButton button,
                          std::int64_t count,
                          std::vector<Modifier> modifiers,
                          Before beforeNext)
{
    MouseEvent down = mouse(MouseEvent::Kind::down, at, button);
    for (Modifier const modifier : modifiers)
        add(down.flags, modifier);
    for (std::int64_t number = 1; number <= std::max<std::int64_t>(count, 1); ++number) {
        if (number > 1 && beforeNext)
            co_await beforeNext();
        down.clickState = static_cast<int>(std::min<std::int64_t>(number, std::numeric_limits<int>::max()));
        MouseEvent up = down;
        up.kind = MouseEvent::Kind::up;
        if (!co_await events.post(down) || !co_await events.post(up))
            break;
    }
}

Task<> InputDriver::mouseDown(DesktopPoint at, MouseButton button)
{
    PostedEvent const event = mouse(MouseEvent::Kind::down, at, button);
    co_await events.post(event);
}

Task<> InputDriver::mouseUp(DesktopPoint at, MouseButton button)
{
    PostedEvent const event = mouse(MouseEvent::Kind::up, at, button);
    co_await events.post(event);
}

Task<> InputDriver::drag(DesktopPoint from, DesktopPoint to, MouseButton button, std::int64_t durationMs)
{
    if (co_await dragHeld(from, to, button, durationMs))
        co_await mouseUp(to, button);
}

Task<bool>
InputDriver::dragHeld(DesktopPoint from, DesktopPoint to, MouseButton button, std::int64_t durationMs)
{
    DragPlan const plan = DragPlan::of(durationMs);
    PostedEvent event = mouse(MouseEvent::Kind::down, from, button);
    if (!co_await events.post(event))
        co_return false;
    for (std::int64_t i = 1; i <= plan.steps; ++i) {
        double const part = static_cast<double>(i) / static_cast<double>(plan.steps);
        DesktopPoint const point{from.x + (to.x - from.x) * part, from.y + (to.y - from.y) * part};
        event = mouse(MouseEvent::Kind::dragged, point, button);
        if (!co_await events.post(event))
            co_return false; // The gate has released the button.
        // A cancellation does not stop the drag, so the button is always released.
        co_await clock.sleepThroughCancel(std::chrono::milliseconds(plan.stepDelayMs));
    }
    co_return true;
}

Task<> InputDriver::scroll(DesktopPoint at, double dx, double dy)
{
    co_await move(at); // The wheel acts on the element under the pointer.
    ScrollEvent event;
    event.dy = wheelPixels(dy);
    event.dx = wheelPixels(dx);
    co_await events.post(event);
}

Task<> InputDriver::type(std::string text)
{
    co_await type(std::move(text), {});
}

Task<> InputDriver::type(std::string text, BeforePiece before)
{
    co_await events.beginText(text);
    std::exception_ptr failure; // Nothing can be awaited where it is caught.
    try {
        co_await typePieces(std::move(text), std::move(before));
    } catch (...) {
        failure = std::current_exception();
    }
    co_await events.endText();
    if (failure)
        std::rethrow_exception(failure);
}

Task<> InputDriver::typePieces(std::string text, BeforePiece before)
{
    if (!before) {
        co_await typePiece(std::move(text));
        co_return;
    }
    for (std::string const& piece : textPieces(text)) {
        if (piece.starts_with(' ') || piece.starts_with('\n') || piece.starts_with('\r'))
            co_await before(piece);
        if (!co_await typePiece(piece))
            break;
    }
}

Task<bool> InputDriver::typePiece(std::string piece)
{
    for (std::string const& chunk : text::chunks(piece, chunkCharacters)) {
        TextEvent event;
        event.text = chunk;
        if (!co_await events.post(event))
            co_return false;
        event.kind = KeyEvent::Kind::up;
        if (!co_await events.post(event))
            co_return false;
        co_await clock.sleepThroughCancel(chunkPause);
    }
    co_return true;
}

Task<> InputDriver::pressKeys(std::vector<std::string> keys)
{
    Chord const chord = Chord::of(keys);
    auto const code = chord.key ? KeyCodes::code(*chord.key) : std::nullopt;
    if (!code)
        co_return;
    KeyEvent event;
    event.flags = chord.flags;
    event.keyCode = *code;
    if (!co_await events.post(event))
        co_return;
    event.kind = KeyEvent::Kind::up;
    co_await events.post(event);
}

Task<> InputDriver::releaseAll()
{
    return events.releaseAll();
}

Task<bool> InputDriver::delivered()
{
    return events.delivered();
}

DesktopPoint InputDriver::cursorPosition()
{
    return events.pointerLocation();
}

} // namespace zelvo
