#include "platform/linux/x11/input/TextTyping.h"

#include "base/Hop.h"
#include "platform/linux/input/TypedText.h"

#include <boost/asio/this_coro.hpp>

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <ranges>

namespace zelvo {

namespace {

constexpr Duration maxShortcut = 2s; // Of the person, at the same keyboard.
constexpr Duration betweenLooks = 10ms;

} // namespace

TextTyping::TextTyping(Contexts contexts, Clock& clock, InputConnection& connection, Keyboard& keyboard)
    : contexts(contexts), clock(clock), connection(connection), keyboard(keyboard), keys(connection),
      barrier(contexts, clock, connection)
{
}

Task<> TextTyping::begin(std::string text)
{
    if (keys.hasLoans())
        co_await end(); // The text before was never ended.
    co_await on(contexts.workers, [this, &text] {
        expect(typedCharacters(text));
        if (keyboard.refresh())
            bindUpcoming();
    });
}

Task<> TextTyping::ready(std::string text)
{
    co_await waitForModifiers();
    std::u32string const characters = typedCharacters(text);
    continueWith(characters);
    if (!co_await on(contexts.workers, [&] { return lacksKey(characters.size()); }))
        co_return;
    if (keys.hasLoans())
        co_await barrier.wait();
    co_await on(contexts.workers, [this] { bindUpcoming(); });
}

Task<> TextTyping::waitForModifiers()
{
    Instant const deadline = clock.now() + maxShortcut;
    auto const held = [this] { return keyboard.refresh() && keyboard.holdsCommandModifier(); };
    while (co_await on(contexts.workers, held) && clock.now() < deadline)
        co_await clock.sleepThroughCancel(betweenLooks);
}

Task<bool> TextTyping::type(std::string text)
{
    std::u32string characters = typedCharacters(text);
    continueWith(characters);
    std::size_t const stop = next + characters.size();
    bool mayRebind = true;
    while (true) {
        Outcome const outcome = co_await on(contexts.workers, [this, stop] { return typeUpTo(stop); });
        if (outcome != Outcome::needsKey)
            co_return outcome == Outcome::done;
        if (!mayRebind) {
            ++next; // There is no key to be had for it.
            mayRebind = true;
            continue;
        }
        if (keys.hasLoans())
            co_await barrier.wait();
        mayRebind = co_await on(contexts.workers, [this] { return bindUpcoming(); });
    }
}

Task<> TextTyping::end()
{
    expect({});
    if (!keys.hasLoans())
        co_return;
    // Keys must be given back even when the task is being cancelled.
    bool const throwing = co_await asio::this_coro::throw_if_cancelled();
    co_await asio::this_coro::throw_if_cancelled(false);
    co_await barrier.wait();
    co_await on(contexts.workers, [this] { keys.giveBack(); });
    co_await asio::this_coro::throw_if_cancelled(throwing);
}

bool TextTyping::lacksKey(std::size_t count)
{
    if (!keyboard.refresh())
        return false;
    for (std::size_t i = next; i < std::min(next + count, upcoming.size()); ++i)
        if (!keyboard.strokeFor(upcoming[i]))
            return true;
    return false;
}

void TextTyping::continueWith(std::u32string const& characters)
{
    if (std::u32string_view(upcoming).substr(next, characters.size()) != characters)
        expect(characters);
}

void TextTyping::expect(std::u32string characters)
{
    upcoming = std::move(characters);
    next = 0;
}

TextTyping::Outcome TextTyping::typeUpTo(std::size_t stop)
{
    if (!keyboard.refresh() || keyboard.holdsCommandModifier())
        return Outcome::refused;
    Outcome outcome = Outcome::done;
    for (; next < stop; ++next) {
        KeyStroke const* const stroke = keyboard.strokeFor(upcoming[next]);
        if (!stroke) {
            outcome = Outcome::needsKey;
            break;
        }
        press(*stroke);
    }
    holdModifiers({});
    connection.flush();
    return connection.isAlive() ? outcome : Outcome::refused;
}

void TextTyping::press(KeyStroke const& stroke)
{
    holdModifiers(stroke.modifiers);
    fakeKey(stroke.keycode, true);
    fakeKey(stroke.keycode, false);
}

/// Keeps modifiers down from one character to the next where both need them.
void TextTyping::holdModifiers(std::vector<std::uint8_t> const& wanted)
{
    if (wanted == modifiersDown)
        return;
    for (std::uint8_t const key : std::views::reverse(modifiersDown))
        fakeKey(key, false);
    for (std::uint8_t const key : wanted)
        fakeKey(key, true);
    modifiersDown = wanted;
}

void TextTyping::fakeKey(std::uint8_t keycode, bool down) const
{
    xcb_test_fake_input(connection.raw(), down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, keycode, XCB_CURRENT_TIME,
                        XCB_WINDOW_NONE, 0, 0, 0);
}

bool TextTyping::onLayout(char32_t character) const
{
    KeyStroke const* const stroke = keyboard.strokeFor(character);
    return stroke && !keys.isLent(stroke->keycode);
}

bool TextTyping::bindUpcoming()
{
    auto const rest = std::u32string_view(upcoming).substr(next);
    auto const known = [this](char32_t character) { return onLayout(character); };
    auto const plan = [&](SpareKeys const& spare) {
        return planBindings(rest, known, spare, keyboard.usableLevels());
    };
    SpareKeys const empty = keys.emptyKeys();
    std::vector<KeyBinding> bindings = plan(empty);
    bool const full = bindings.size() == empty.empty.size();
    if (full)
        bindings = plan(keys.allSpareKeys());
    if (bindings.empty() || !keys.bind(bindings) || !keyboard.refresh())
        return false;
    return !rest.empty() && keyboard.strokeFor(rest.front()) != nullptr;
}

} // namespace zelvo
