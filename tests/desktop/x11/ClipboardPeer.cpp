#include "desktop/x11/ClipboardPeer.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace zelvo::test {

std::vector<std::uint32_t> ClipboardPeer::Value::numbers() const
{
    std::vector<std::uint32_t> all(bytes.size() / sizeof(std::uint32_t));
    std::memcpy(all.data(), bytes.data(), all.size() * sizeof(std::uint32_t));
    return all;
}

ClipboardPeer::ClipboardPeer(std::string const& display)
    : connection(connectTo(display)), own(xcb_generate_id(connection.get()))
{
    std::uint32_t const events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(x(), XCB_COPY_FROM_PARENT, own, screenOf(x())->root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    syncWith(x());
}

xcb_atom_t ClipboardPeer::atom(std::string const& name)
{
    auto const known = atoms.find(name);
    return known != atoms.end() ? known->second : atoms[name] = atomOf(x(), name);
}

bool ClipboardPeer::pump()
{
    if (!connection)
        return false;
    bool any = false;
    while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(x())}) {
        any = true;
        auto const type = event->response_type & 0x7f;
        if (type == XCB_SELECTION_REQUEST)
            take(reinterpret_cast<xcb_selection_request_event_t const&>(*event));
        else if (type == XCB_SELECTION_NOTIFY)
            take(reinterpret_cast<xcb_selection_notify_event_t const&>(*event));
        else if (type == XCB_PROPERTY_NOTIFY)
            take(reinterpret_cast<xcb_property_notify_event_t const&>(*event));
        if (!connection)
            return true;
    }
    xcb_flush(x());
    return any;
}

void ClipboardPeer::take(xcb_selection_request_event_t const& request)
{
    Asked const asked{request.requestor, request.selection, request.target, request.property, request.time};
    targetsAsked.push_back(asked.target);
    onRequest ? onRequest(asked) : answer(asked, XCB_NONE);
}

void ClipboardPeer::take(xcb_selection_notify_event_t const& answer)
{
    answers.push_back(answer);
    if (collects && answer.property && answer.target != atom("MULTIPLE"))
        collect(answer.property);
}

void ClipboardPeer::take(xcb_property_notify_event_t const& change)
{
    if (change.window == own && change.state == XCB_PROPERTY_NEW_VALUE && collectsPieces)
        collect(change.atom);
    auto const sending = std::ranges::find_if(sendings, [&](auto const& each) {
        return each.first.requestor == change.window && each.first.property == change.atom;
    });
    if (sending != sendings.end() && change.state == XCB_PROPERTY_DELETE)
        sendNext(sending->first, sending->second);
}

void ClipboardPeer::take(std::string const& selection)
{
    xcb_set_selection_owner(x(), own, atom(selection), XCB_CURRENT_TIME);
    syncWith(x());
}

bool ClipboardPeer::owns(std::string const& selection)
{
    XReply<xcb_get_selection_owner_reply_t> const reply(
        xcb_get_selection_owner_reply(x(), xcb_get_selection_owner(x(), atom(selection)), nullptr));
    return reply && reply->owner == own;
}

void ClipboardPeer::serve(std::string text, std::string const& form, std::size_t piece)
{
    auto const shared = std::make_shared<std::string const>(std::move(text));
    onRequest = [this, shared, form, piece](Asked const& asked) {
        if (asked.target != atom(form))
            answer(asked, XCB_NONE);
        else if (piece == 0)
            give(asked, form, 8, *shared);
        else
            giveInPieces(asked, form, [shared, piece, at = std::size_t{0}]() mutable {
                std::string next = shared->substr(std::min(at, shared->size()), piece);
                at += next.size();
                return std::optional(std::move(next));
            });
    };
    take();
}

void ClipboardPeer::give(Asked const& asked, std::string const& type, int format, std::string_view bytes)
{
    put(asked, type, format, bytes);
    answer(asked, asked.property);
}

void ClipboardPeer::put(Asked const& asked, std::string const& type, int format, std::string_view bytes)
{
    xcb_change_property(x(), XCB_PROP_MODE_REPLACE, asked.requestor, asked.property, atom(type),
                        static_cast<std::uint8_t>(format),
                        static_cast<std::uint32_t>(bytes.size() * 8 / static_cast<unsigned>(format)),
                        bytes.data());
    xcb_flush(x());
}

void ClipboardPeer::giveInPieces(Asked const& asked,
                                 std::string const& type,
                                 std::function<std::optional<std::string>()> next,
                                 std::uint32_t saidSize)
{
    std::uint32_t const events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(x(), asked.requestor, XCB_CW_EVENT_MASK, &events);
    sendings.emplace_back(asked, Sending{type, std::move(next)});
    give(asked, "INCR", 32, {reinterpret_cast<char const*>(&saidSize), sizeof saidSize});
}

void ClipboardPeer::sendNext(Asked const& asked, Sending& sending)
{
    ++piecesTaken;
    auto const piece = sending.next();
    if (piece && connection)
        put(asked, sending.type, 8, *piece);
}

void ClipboardPeer::answer(Asked const& asked, xcb_atom_t property)
{
    xcb_selection_notify_event_t event{};
    event.response_type = XCB_SELECTION_NOTIFY;
    event.time = asked.time;
    event.requestor = asked.requestor;
    event.selection = asked.selection;
    event.target = asked.target;
    event.property = property;
    char whole[32] = {};
    std::memcpy(whole, &event, sizeof event);
    xcb_send_event(x(), 0, asked.requestor, XCB_EVENT_MASK_NO_EVENT, whole);
    xcb_flush(x());
}

void ClipboardPeer::ask(std::string const& target, std::string const& property, xcb_timestamp_t time)
{
    received.reset();
    gathered = {};
    collectsPieces = false;
    xcb_convert_selection(x(), own, atom("CLIPBOARD"), atom(target), property.empty() ? 0 : atom(property),
                          time);
    xcb_flush(x());
}

void ClipboardPeer::collect(xcb_atom_t property)
{
    Value value = read(property, true);
    if (!collectsPieces && value.type == atom("INCR")) {
        collectsPieces = true;
        return;
    }
    if (!collectsPieces) {
        received = std::move(value);
        return;
    }
    if (value.type == XCB_NONE)
        return;
    gathered.type = value.type;
    gathered.format = value.format;
    gathered.bytes += value.bytes;
    if (!value.bytes.empty())
        return;
    collectsPieces = false;
    received = std::exchange(gathered, {});
}

ClipboardPeer::Value ClipboardPeer::read(std::string const& property, bool remove)
{
    return read(atom(property), remove);
}

ClipboardPeer::Value ClipboardPeer::read(xcb_atom_t property, bool remove)
{
    auto const question = xcb_get_property(x(), remove ? 1 : 0, own, property, XCB_ATOM_ANY, 0, 1u << 26);
    XReply<xcb_get_property_reply_t> const reply(xcb_get_property_reply(x(), question, nullptr));
    if (!reply)
        return {};
    return {reply->type, reply->format,
            std::string(static_cast<char const*>(xcb_get_property_value(reply.get())),
                        static_cast<std::size_t>(xcb_get_property_value_length(reply.get())))};
}

void ClipboardPeer::setNumbers(std::string const& property,
                               std::string const& type,
                               std::vector<std::uint32_t> numbers)
{
    xcb_change_property(x(), XCB_PROP_MODE_REPLACE, own, atom(property), atom(type), 32,
                        static_cast<std::uint32_t>(numbers.size()), numbers.data());
}

} // namespace zelvo::test
