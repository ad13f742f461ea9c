#include "platform/linux/wayland/input/WaylandEventPosting.h"

#include "base/Hop.h"
#include "platform/linux/input/KeyPositions.h"
#include "wire/AgentError.h"

#include <boost/asio/this_coro.hpp>

#include <linux/input-event-codes.h>

#include <utility>

namespace zelvo {

namespace {

// GTK and Qt have 400 ms; Chromium has the longest.
constexpr Duration doubleClickTime = 500ms;

// How often, and after which time, the keymap of a session's first key is looked for.
constexpr int keymapLooks = 25;
constexpr Duration keymapPause = 20ms;

DetailedAgentError cannotType()
{
    return {.error = AgentError::invalidRequest,
            .message = "This desktop could not type all of the text here",
            .details = {}};
}

DetailedAgentError cannotReadKeys()
{
    return {.error = AgentError::machineUnavailable,
            .message = "This desktop does not say which keys its keyboard has, so no modifier can be pressed",
            .details = {}};
}

/// Whether an event presses or types something.
bool isPress(PostedEvent const& event)
{
    if (auto const* const mouse = std::get_if<MouseEvent>(&event))
        return mouse->kind == MouseEvent::Kind::down;
    if (auto const* const key = std::get_if<KeyEvent>(&event))
        return key->kind == KeyEvent::Kind::down;
    return true;
}

bool isPointing(PostedEvent const& event)
{
    auto const* const mouse = std::get_if<MouseEvent>(&event);
    return mouse && mouse->kind != MouseEvent::Kind::up;
}

/// Line ends as '\n' each, tabs, and no other control characters, which no way carries.
std::string typable(std::string const& text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char const byte = text[i];
        bool const isPair = byte == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
        bool const isControl = static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
        if (isPair)
            continue;
        if (byte == '\r')
            result += '\n';
        else if (!isControl || byte == '\n' || byte == '\t')
            result += byte;
    }
    return result;
}

} // namespace

WaylandEventPosting::WaylandEventPosting(Parts given)
    : parts(std::move(given)), switches(parts.sink), keyboard(parts.keymap), byKeymap(switches),
      byKeys(parts.contexts, parts.clock, switches, keyboard), byInsertion(parts.insertion),
      byPaste(parts.contexts, parts.clock, switches, keyboard, parts.clipboard, parts.insertion),
      delivery(parts.contexts, parts.clock, parts.front)
{
}

Task<> WaylandEventPosting::ready(PostedEvent event)
{
    auto const* const mouse = std::get_if<MouseEvent>(&event);
    if (!mouse || mouse->kind != MouseEvent::Kind::down || mouse->clickState != 1)
        co_return;
    auto const due = earliestClick(mouse->point);
    if (due && *due > parts.clock.now())
        co_await parts.clock.sleepThroughCancel(*due - parts.clock.now());
}

std::optional<Instant> WaylandEventPosting::earliestClick(DesktopPoint point)
{
    std::scoped_lock const guard(lock);
    return spacing.earliest(point, doubleClickTime);
}

Task<bool> WaylandEventPosting::post(PostedEvent event)
{
    auto const mine = co_await turn.lock();
    if (!seesWindows() && isPress(event))
        throw AgentError::machineUnavailable;
    if (!seesWindows() && isPointing(event))
        co_return false;
    if (auto* const mouse = std::get_if<MouseEvent>(&event))
        co_return co_await make(*mouse);
    if (auto* const key = std::get_if<KeyEvent>(&event))
        co_return co_await make(*key);
    if (auto* const wheel = std::get_if<ScrollEvent>(&event))
        co_return co_await make(*wheel);
    co_return co_await make(std::get<TextEvent>(std::move(event)));
}

Task<bool> WaylandEventPosting::make(MouseEvent event)
{
    // What is held is released in any case.
    if (seesWindows() && !co_await switches.moveTo(parts.monitors().toLogical(event.point)))
        co_return false;
    {
        std::scoped_lock const guard(lock);
        lastPoint = event.point;
    }
    InputSwitch const button = switchOf(event.button);
    if (event.kind == MouseEvent::Kind::up)
        co_return co_await switches.release(button);
    if (event.kind != MouseEvent::Kind::down)
        co_return true;
    std::vector<std::uint8_t> modifiers = co_await modifiersFor(event.flags);
    bool const made = co_await switches.press(button, std::move(modifiers));
    std::scoped_lock const guard(lock);
    spacing.pressed(event.point, event.clickState, parts.clock.now());
    co_return made;
}

Task<bool> WaylandEventPosting::make(KeyEvent event)
{
    auto const keycode = keycodeAtPosition(event.keyCode);
    if (!keycode)
        co_return false;
    InputSwitch const key{InputSwitch::Kind::key, *keycode};
    if (event.kind == KeyEvent::Kind::up)
        co_return co_await switches.release(key);
    std::vector<std::uint8_t> modifiers = co_await modifiersFor(event.flags);
    co_return co_await switches.press(key, std::move(modifiers));
}

Task<std::vector<std::uint8_t>> WaylandEventPosting::modifiersFor(ModifierFlags flags)
{
    if (flags == ModifierFlags{} || !switches.door())
        co_return std::vector<std::uint8_t>();
    if (!co_await knowsKeys() && switches.door())
        throw cannotReadKeys();
    co_return keyboard.modifiersFor(flags);
}

Task<bool> WaylandEventPosting::knowsKeys()
{
    InputSwitch const nothing{InputSwitch::Kind::key, KEY_UNKNOWN};
    for (int asked = 0; asked < keymapLooks; ++asked) {
        auto const refresh = [this] { return keyboard.refresh() || keyboard.isUnreadable(); };
        if (co_await on(parts.contexts.workers, refresh))
            break;
        if (asked == 0 && (!co_await switches.press(nothing, {}) || !co_await switches.release(nothing)))
            break;
        co_await parts.clock.sleep(keymapPause);
    }
    co_return keyboard.isKnown();
}

Task<bool> WaylandEventPosting::make(ScrollEvent event)
{
    return switches.scroll(event);
}

Task<bool> WaylandEventPosting::make(TextEvent event)
{
    if (event.kind == KeyEvent::Kind::up)
        co_return true; // Typed when its key went down.
    switches.beginPiece();
    if (!way || !switches.door())
        co_return false;
    if (co_await way->type(typable(event.text)))
        co_return true;
    if (switches.door() && !switches.wasStopped())
        throw cannotType();
    co_return false; // It broke, the grant ended, or the text may not go on.
}

Task<> WaylandEventPosting::beginText(std::string text)
{
    co_await endText(); // The text before may never have been ended.
    auto const mine = co_await turn.lock();
    if (!seesWindows())
        throw AgentError::machineUnavailable;
    if (!switches.door())
        co_return;
    for (TextWay* const one : std::array<TextWay*, 4>{&byKeymap, &byKeys, &byInsertion, &byPaste})
        if (co_await one->begin(typable(text))) {
            way = one;
            co_return;
        }
    throw cannotType();
}

Task<> WaylandEventPosting::endText()
{
    // What was changed for the text must be undone even when the task is being cancelled.
    bool const throwing = co_await asio::this_coro::throw_if_cancelled();
    co_await asio::this_coro::throw_if_cancelled(false);
    {
        auto const mine = co_await turn.lock();
        if (TextWay* const ended = std::exchange(way, nullptr))
            co_await ended->end();
    }
    co_await asio::this_coro::throw_if_cancelled(throwing);
}

Task<> WaylandEventPosting::releaseAll()
{
    auto const mine = co_await turn.lock();
    co_await switches.releaseAll();
}

Task<> WaylandEventPosting::drained()
{
    if (InputSink* const door = switches.door())
        co_await door->drained();
}

Task<bool> WaylandEventPosting::delivered()
{
    co_await drained();
    co_return co_await delivery.wait();
}

DesktopPoint WaylandEventPosting::pointerLocation()
{
    if (auto const point = parts.pointer())
        return parts.monitors().toPoints(*point);
    std::scoped_lock const guard(lock);
    return lastPoint.value_or(DesktopPoint{});
}

Task<std::vector<std::vector<std::string>>> WaylandEventPosting::chordsOf(KeyEvent event)
{
    auto const mine = co_await turn.lock();
    auto const read = [&]() -> std::vector<std::vector<std::string>> {
        auto const keycode = keycodeAtPosition(event.keyCode);
        if (!keycode || !keyboard.refresh())
            return {};
        return keyboard.readings(*keycode, event.flags);
    };
    co_return co_await on(parts.contexts.workers, read);
}

} // namespace zelvo
