#include "platform/linux/wayland/input/PastedText.h"

#include <boost/asio/experimental/awaitable_operators.hpp>

#include <utility>

namespace zelvo {

namespace {

// Keycodes by position, as all keymaps number them.
constexpr std::uint8_t keyReturn = 36;
constexpr std::uint8_t keyTab = 23;
constexpr std::uint8_t keyV = 55;
constexpr std::uint8_t keyControl = 37;
constexpr std::uint8_t keyShift = 50;

constexpr Duration longestArrival = 2s;
constexpr Duration betweenLooks = 15ms;
constexpr Duration longestReading = 1s;
constexpr Duration latestReading = 1500ms;
constexpr Duration blindArrival = 150ms; // Where nothing shows that it has arrived.

} // namespace

Task<bool> PastedText::begin(std::string)
{
    if (!clipboard || !switches.door())
        co_return false;
    place = (co_await insertion.begin()).value_or(TextInsertion::Place());
    lastOurs.reset();
    // A question of ours waits for what is under way, and so for this.
    using namespace asio::experimental::awaitable_operators;
    auto read = co_await (clipboard->text() || clock.sleep(longestReading));
    if (read.index() != 0)
        co_return false; // What could not be put back is not replaced.
    before = std::move(std::get<0>(read));
    co_return true;
}

Task<bool> PastedText::type(std::string piece)
{
    std::size_t start = 0;
    while (start < piece.size()) {
        std::size_t const end = std::min(piece.find_first_of("\n\r\t", start), piece.size());
        if (end > start && !co_await paste(piece.substr(start, end - start)))
            co_return false;
        if (end == piece.size())
            break;
        bool const isPair = piece.compare(end, 2, "\r\n") == 0;
        if (!co_await strike(piece[end] == '\t' ? keyTab : keyReturn))
            co_return false;
        start = end + (isPair ? 2 : 1);
    }
    co_return true;
}

Task<bool> PastedText::paste(std::string part)
{
    if (!co_await clipboard->setText(part))
        co_return false;
    lastOurs = clipboard->changeCount();
    std::vector<std::uint8_t> modifiers{keyControl};
    if (place.isTerminal)
        modifiers.push_back(keyShift);
    // By what it gives, because shortcuts are read so; a layout without Latin letters has it at its usual
    // place.
    KeyStroke const* const v = keyboard.strokeFor(U'v');
    std::uint8_t const key = v && v->modifiers.empty() ? v->keycode : keyV;
    co_return co_await strike(key, std::move(modifiers)) && co_await hasArrived(std::move(part));
}

Task<bool> PastedText::hasArrived(std::string part)
{
    if (!place.isReadable) {
        co_await clock.sleepThroughCancel(blindArrival);
        co_return true;
    }
    Instant const deadline = clock.now() + longestArrival;
    while (!co_await insertion.isBeforeCaret(part)) {
        if (clock.now() >= deadline)
            co_return false;
        co_await clock.sleepThroughCancel(betweenLooks);
    }
    co_return true;
}

Task<bool> PastedText::strike(std::uint8_t keycode, std::vector<std::uint8_t> modifiers)
{
    KeyStroke stroke{keycode, std::move(modifiers)};
    co_return co_await switches.strike(std::move(stroke));
}

Task<> PastedText::end()
{
    std::string const kept = std::exchange(before, {});
    // A program that is busy asks for the text later, and must not get the one that was there before.
    if (lastOurs && !place.isReadable)
        co_await clock.sleepThroughCancel(latestReading);
    // What somebody copied meanwhile is newer than what was there before.
    if (lastOurs && clipboard->changeCount() == *lastOurs)
        co_await clipboard->putBack(kept);
    lastOurs.reset();
}

} // namespace zelvo
