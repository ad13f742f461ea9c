#include "platform/linux/x11/clipboard/ClipboardReading.h"

#include "platform/Pasteboard.h"
#include "platform/linux/x11/clipboard/ClipboardLink.h"

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace zelvo {

namespace {

/// As long as the common toolkits wait for a selection owner.
constexpr Duration maxSilence = 5s;
/// Ends a reading that receives only a little now and then.
constexpr Duration maxReading = 30s;

std::string_view valueOf(xcb_get_property_reply_t const& reply)
{
    return {static_cast<char const*>(xcb_get_property_value(&reply)),
            static_cast<std::size_t>(xcb_get_property_value_length(&reply))};
}

} // namespace

ClipboardReading::ClipboardReading(std::shared_ptr<ClipboardLink> link, Clock& clock)
    : link(std::move(link)), clock(clock), lastSign(clock.now()), latest(lastSign + maxReading),
      ownWindow(xcb_generate_id(this->link->x()))
{
    ClipboardLink const& server = *this->link;
    // A child of our other window, so that programs that watch the root's children get no event.
    std::uint32_t const events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(server.x(), 0, ownWindow, server.window(), 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      0, XCB_CW_EVENT_MASK, &events);
}

ClipboardReading::~ClipboardReading()
{
    close();
}

void ClipboardReading::close()
{
    if (ownWindow)
        xcb_destroy_window(link->x(), std::exchange(ownWindow, 0));
    xcb_flush(link->x());
}

void ClipboardReading::start()
{
    askNext();
}

Task<> ClipboardReading::finished()
{
    co_await ended.wait([this] { return over; });
}

std::optional<ClipboardBytes> ClipboardReading::take()
{
    return std::exchange(taken, std::nullopt);
}

Instant ClipboardReading::deadline() const
{
    return std::min(lastSign + maxSilence, latest);
}

/// The best first.
std::vector<std::uint32_t> ClipboardReading::forms() const
{
    ClipboardAtoms const& atoms = link->atoms();
    return {atoms.utf8String, atoms.textPlainUtf8, XCB_ATOM_STRING, atoms.text, atoms.textPlain};
}

std::optional<ClipboardEncoding> ClipboardReading::encodingOf(std::uint32_t given) const
{
    ClipboardAtoms const& atoms = link->atoms();
    if (given == atoms.utf8String || given == atoms.textPlainUtf8)
        return ClipboardEncoding::utf8;
    if (given == XCB_ATOM_STRING)
        return ClipboardEncoding::latin1;
    if (given == atoms.textPlain)
        return ClipboardEncoding::unsaid;
    return std::nullopt;
}

void ClipboardReading::askNext()
{
    if (next == forms().size()) {
        end(false);
        return;
    }
    // A new time for each: by now the owner may be another one, which would refuse an earlier time.
    link->askTime([weak = weak_from_this()](std::uint32_t time) {
        auto const self = weak.lock();
        if (self && !self->over)
            self->ask(time);
    });
}

void ClipboardReading::ask(std::uint32_t time)
{
    xcb_delete_property(link->x(), ownWindow, link->atoms().content);
    question = xcb_convert_selection(link->x(), ownWindow, link->atoms().clipboard, forms()[next],
                                     link->atoms().content, time)
                   .sequence;
    isAsked = true;
    isOfFormerOwner = false;
    hasOwnerEnded = false;
    ++next;
}

void ClipboardReading::noteAnswer(void const* event)
{
    auto const& answer = *static_cast<xcb_selection_notify_event_t const*>(event);
    if (over || !isAsked || answer.selection != link->atoms().clipboard || answer.target != forms()[next - 1])
        return;
    isAsked = false;
    isFresh = false;
    lastSign = clock.now();
    if (answer.property == link->atoms().content)
        fetch();
    else
        askNext();
}

void ClipboardReading::noteProperty(void const* event)
{
    auto const& change = *static_cast<xcb_property_notify_event_t const*>(event);
    if (over || change.state != XCB_PROPERTY_NEW_VALUE || change.atom != link->atoms().content)
        return;
    isFresh = true;
    if (inPieces && !isFetching)
        fetch();
}

void ClipboardReading::noteOwner(void const* event)
{
    auto const number = static_cast<xcb_generic_event_t const*>(event)->full_sequence;
    bool const wasBefore = static_cast<std::int32_t>(number - question) < 0;
    if (over || question == 0 || wasBefore || isOfFormerOwner)
        return;
    auto const& change = *static_cast<xcb_xfixes_selection_notify_event_t const*>(event);
    if (change.subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER)
        isOfFormerOwner = true;
    else
        noteEndOfOwner();
}

/// The server does not notify requestors. What the owner stored before is still there.
void ClipboardReading::noteEndOfOwner()
{
    hasOwnerEnded = true;
    if (isAsked || (inPieces && !isFetching))
        end(false);
}

/// Reads the next part of the property; reading the last part deletes it.
void ClipboardReading::fetch()
{
    isFetching = true;
    if (offset == 0)
        isFresh = false;
    auto const look = xcb_get_property(link->x(), 1, ownWindow, link->atoms().content,
                                       XCB_GET_PROPERTY_TYPE_ANY, offset, link->pieceSize() / 4);
    link->expect(look.sequence, [weak = weak_from_this()](void const* reply) {
        auto const self = weak.lock();
        if (self && !self->over)
            self->takeSlice(reply);
    });
}

void ClipboardReading::takeSlice(void const* raw)
{
    isFetching = false;
    auto const* const reply = static_cast<xcb_get_property_reply_t const*>(raw);
    if (!reply)
        return end(false);
    bool const isFirst = !taken;
    if (isFirst && !inPieces && reply->type == link->atoms().incr && reply->bytes_after == 0) {
        lastSign = clock.now();
        inPieces = true;
        waitForPiece();
    } else if (inPieces && offset == 0 && reply->type == XCB_NONE)
        waitForPiece(); // There was nothing new after all.
    else if (!isFirst || begins(reply))
        append(reply);
    else if (inPieces)
        end(false);
    else
        askNext();
}

/// Whether this is the beginning of a text.
bool ClipboardReading::begins(void const* raw)
{
    auto const& reply = *static_cast<xcb_get_property_reply_t const*>(raw);
    auto const encoding = encodingOf(reply.type);
    if (!encoding || reply.format != 8)
        return false;
    type = reply.type;
    taken = ClipboardBytes{*encoding, {}};
    return true;
}

void ClipboardReading::append(void const* raw)
{
    auto const& reply = *static_cast<xcb_get_property_reply_t const*>(raw);
    std::string_view const slice = valueOf(reply);
    bool const isEnd = inPieces && offset == 0 && slice.empty() && reply.bytes_after == 0;
    bool const isText = isEnd || (reply.format == 8 && reply.type == type);
    std::size_t const room = Pasteboard::maxTextLength - taken->bytes.size();
    if (!isText || slice.size() > room || reply.bytes_after > room - slice.size()) {
        end(false);
        return;
    }
    lastSign = clock.now();
    taken->bytes.append(slice);
    if (reply.bytes_after > 0) {
        offset += static_cast<std::uint32_t>(slice.size() / 4);
        if (slice.empty())
            end(false);
        else
            fetch();
        return;
    }
    offset = 0;
    if (!inPieces || isEnd)
        end(true);
    else
        waitForPiece();
}

void ClipboardReading::waitForPiece()
{
    // The owner may have stored it before we knew that the last piece was taken.
    if (isFresh)
        fetch();
    else if (hasOwnerEnded)
        end(false);
}

void ClipboardReading::end(bool given)
{
    if (over)
        return;
    if (!given)
        taken.reset();
    ended.notifyAll([this] { over = true; });
}

} // namespace zelvo
