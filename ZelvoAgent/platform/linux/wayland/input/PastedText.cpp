#include "platform/linux/wayland/input/PastedText.h"

#include "base/Hop.h"

#include <utility>

namespace zelvo {

namespace {

// Keycodes by position, as all keymaps number them.
constexpr std::uint8_t keyReturn = 36;
constexpr std::uint8_t keyTab = 23;
constexpr std::uint8_t keyV = 55;
constexpr std::uint8_t keyControl = 37;
constexpr std::uint8_t keyShift = 50;

constexpr Duration maxArrival = 2s;
constexpr Duration betweenLooks = 15ms;
// Clipboard managers read a new text at once. Without a pause one would be taken for the program in front.
constexpr Duration managerPause = 25ms;
constexpr Duration afterReading = 50ms;
// Where nothing shows whether the text was read.
constexpr Duration blindArrival = 150ms;
constexpr Duration maxReading = 1500ms;

} // namespace

Task<bool> PastedText::begin(std::string)
{
    if (!clipboard || !switches.door())
        co_return false;
    place = (co_await insertion.begin()).value_or(TextInsertion::Place());
    isLent = false;
    co_return co_await keep();
}

Task<bool> PastedText::keep()
{
    known = clipboard->changeCount();
    auto forms = co_await clipboard->keep();
    if (!forms)
        co_return false; // What could not be put back is not replaced.
    kept = std::move(*forms);
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
    if (!switches.door() || !co_await switches.mayContinue())
        co_return false;
    if (clipboard->changeCount() != known && !co_await keep())
        co_return false;
    isLent = true;
    readingsBeforeLoan = clipboard->readings();
    bool const isThere = co_await clipboard->lend(part);
    known = clipboard->changeCount();
    co_return isThere&& co_await strikePaste() && co_await hasArrived(std::move(part));
}

Task<bool> PastedText::strikePaste()
{
    if (!place.isReadable && readingsBeforeLoan)
        co_await clock.sleepThroughCancel(managerPause);
    readingsBeforeKeys = clipboard->readings();
    co_await on(contexts.workers, [this] { return keyboard.refresh(); });
    std::vector<std::uint8_t> modifiers{keyControl};
    if (place.isTerminal)
        modifiers.push_back(keyShift);
    // By what it gives, because shortcuts are read so; a layout without Latin letters has it at its usual
    // place.
    KeyStroke const* const v = keyboard.strokeFor(U'v');
    std::uint8_t const key = v && v->modifiers.empty() ? v->keycode : keyV;
    putBackDelay = maxReading;
    bool const isStruck = co_await strike(key, std::move(modifiers));
    if (switches.wasStopped())
        putBackDelay = Duration::zero();
    co_return isStruck;
}

Task<bool> PastedText::hasArrived(std::string part)
{
    if (!place.isReadable)
        co_return co_await hasBeenRead();
    Instant const deadline = clock.now() + maxArrival;
    while (!co_await insertion.isBeforeCaret(part)) {
        if (clock.now() >= deadline)
            co_return false;
        co_await clock.sleepThroughCancel(betweenLooks);
    }
    putBackDelay = Duration::zero();
    co_return true;
}

Task<bool> PastedText::hasBeenRead()
{
    if (!readingsBeforeKeys) {
        co_await clock.sleepThroughCancel(blindArrival);
        co_return true;
    }
    bool const isRead = co_await clipboard->waitForReading(*readingsBeforeKeys, maxReading);
    putBackDelay = Duration::zero();
    if (isRead)
        co_await clock.sleepThroughCancel(afterReading);
    // A program may also have read the text before it had the keys.
    co_return isRead || clipboard->readings() != readingsBeforeLoan;
}

Task<bool> PastedText::strike(std::uint8_t keycode, std::vector<std::uint8_t> modifiers)
{
    KeyStroke stroke{keycode, std::move(modifiers)};
    co_return co_await switches.strike(std::move(stroke));
}

Task<> PastedText::end()
{
    ClipboardForms forms = std::exchange(kept, {});
    if (!std::exchange(isLent, false))
        co_return;
    // A program that is busy asks for the text later, and must not get what was there before.
    co_await clock.sleepThroughCancel(std::exchange(putBackDelay, {}));
    // What somebody copied meanwhile is newer than what was there before.
    if (clipboard->changeCount() == known)
        co_await clipboard->putBack(std::move(forms));
}

} // namespace zelvo
