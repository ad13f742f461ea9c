#include "platform/linux/x11/clipboard/ClipboardTransfers.h"

#include "platform/linux/x11/clipboard/ClipboardLink.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <set>
#include <utility>

namespace zelvo {

namespace {

/// As long as the common toolkits wait for each other.
constexpr Duration maxSilence = 30s;

} // namespace

bool ClipboardTransfers::begin(ClipboardPlace place,
                               std::uint32_t type,
                               std::shared_ptr<OfferedText const> text,
                               std::string_view bytes)
{
    std::erase_if(open, [&](Transfer const& each) { return each.place == place; });
    if (open.size() >= maxTransfers)
        return false;
    makeRoomFor(text);
    watch(place.window, true);
    auto const atLeast = static_cast<std::uint32_t>(bytes.size());
    xcb_change_property(link.x(), XCB_PROP_MODE_REPLACE, place.window, place.property, link.atoms().incr, 32,
                        1, &atLeast);
    open.push_back({place, type, std::move(text), bytes, clock.now() + maxSilence});
    return true;
}

/// Without a limit, a program that takes its text slowly, again and again, could keep every text that was
/// ever copied.
void ClipboardTransfers::makeRoomFor(std::shared_ptr<OfferedText const> const& text)
{
    std::vector<OfferedText const*> others; // the oldest first, as in `open`
    for (Transfer const& each : open)
        if (each.text != text && std::ranges::find(others, each.text.get()) == others.end())
            others.push_back(each.text.get());
    if (others.size() >= maxTexts)
        drop([oldest = others.front()](Transfer const& each) { return each.text.get() == oldest; });
}

void ClipboardTransfers::noteProperty(void const* event)
{
    auto const& change = *static_cast<xcb_property_notify_event_t const*>(event);
    if (change.state != XCB_PROPERTY_DELETE)
        return;
    ClipboardPlace const place{change.window, change.atom};
    auto const transfer = std::ranges::find(open, place, &Transfer::place);
    if (transfer == open.end() || !sendNext(*transfer))
        return;
    open.erase(transfer);
    forget(place.window);
}

bool ClipboardTransfers::sendNext(Transfer& transfer)
{
    std::string_view const piece = transfer.left.substr(0, link.pieceSize());
    transfer.left.remove_prefix(piece.size());
    transfer.ends = clock.now() + maxSilence;
    xcb_change_property(link.x(), XCB_PROP_MODE_REPLACE, transfer.place.window, transfer.place.property,
                        transfer.type, 8, static_cast<std::uint32_t>(piece.size()), piece.data());
    return piece.empty(); // An empty piece is the end.
}

void ClipboardTransfers::noteGone(std::uint32_t window)
{
    std::erase_if(open, [&](Transfer const& each) { return each.place.window == window; });
}

void ClipboardTransfers::dropSilent()
{
    drop([now = clock.now()](Transfer const& each) { return each.ends <= now; });
}

template <class Condition>
void ClipboardTransfers::drop(Condition isOver)
{
    std::set<std::uint32_t> left;
    std::erase_if(open, [&](Transfer const& each) {
        if (!isOver(each))
            return false;
        left.insert(each.place.window);
        return true;
    });
    for (std::uint32_t const window : left)
        forget(window);
}

std::optional<Instant> ClipboardTransfers::nextEnd() const
{
    if (open.empty())
        return std::nullopt;
    return std::ranges::min_element(open, {}, &Transfer::ends)->ends;
}

/// Stops watching a window without transfers.
void ClipboardTransfers::forget(std::uint32_t window)
{
    if (std::ranges::none_of(open, [&](Transfer const& each) { return each.place.window == window; }))
        watch(window, false);
}

void ClipboardTransfers::watch(std::uint32_t window, bool on)
{
    // A request may name any window. Our own are watched anyway, for more than this.
    if (link.server()->clientOf(window) == link.server()->clientOf(link.window()))
        return;
    std::uint32_t const events =
        on ? XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY : XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(link.x(), window, XCB_CW_EVENT_MASK, &events);
}

} // namespace zelvo
