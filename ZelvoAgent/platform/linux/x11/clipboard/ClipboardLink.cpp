#include "platform/linux/x11/clipboard/ClipboardLink.h"

#include "platform/linux/x11/XBatch.h"

#include <xcb/xcb.h>
#include <xcb/xcbext.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

constexpr std::uint32_t maxPiece = 256 << 10;
constexpr std::uint32_t roomForTheRequest = 64;

} // namespace

std::unique_ptr<ClipboardLink> ClipboardLink::open(std::string const& display)
{
    auto connection = X11Connection::open(display);
    if (!connection)
        return nullptr;
    return std::unique_ptr<ClipboardLink>(new ClipboardLink(std::move(connection)));
}

ClipboardLink::ClipboardLink(std::unique_ptr<X11Connection> opened) : connection(std::move(opened))
{
    internAtoms();
    makeWindow();
    watchOwners();
    // The first call asks the server and waits.
    std::uint32_t const maxRequest = xcb_get_maximum_request_length(x()) * 4;
    piece = std::min(maxPiece, maxRequest - roomForTheRequest);
    connection->sync();
}

ClipboardLink::~ClipboardLink() = default;

void ClipboardLink::internAtoms()
{
    std::vector<std::pair<std::string_view, std::uint32_t*>> const wanted = {
        {"CLIPBOARD", &names.clipboard},
        {"CLIPBOARD_MANAGER", &names.manager},
        {"SAVE_TARGETS", &names.saveTargets},
        {"TARGETS", &names.targets},
        {"TIMESTAMP", &names.timestamp},
        {"MULTIPLE", &names.multiple},
        {"ATOM_PAIR", &names.atomPair},
        {"INCR", &names.incr},
        {"NULL", &names.null},
        {"UTF8_STRING", &names.utf8String},
        {"TEXT", &names.text},
        {"text/plain", &names.textPlain},
        {"text/plain;charset=utf-8", &names.textPlainUtf8},
        {"_ZELVO_CLIPBOARD", &names.content},
        {"_ZELVO_TIME", &clock},
    };
    XBatch batch(x());
    for (auto const& [name, atom] : wanted)
        batch.ask(xcb_intern_atom(x(), 0, static_cast<std::uint16_t>(name.size()), name.data()),
                  xcb_intern_atom_reply,
                  [atom](xcb_intern_atom_reply_t const& reply) { *atom = reply.atom; });
    batch.run();
}

/// It is never mapped, so it is in no window list and no picture.
void ClipboardLink::makeWindow()
{
    ownWindow = xcb_generate_id(x());
    std::uint32_t const events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(x(), 0, ownWindow, connection->root(), -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, 0,
                      XCB_CW_EVENT_MASK, &events);
}

void ClipboardLink::watchOwners()
{
    if (!connection->capabilities().xfixes)
        return;
    changeEvent = xcb_get_extension_data(x(), &xcb_xfixes_id)->first_event + XCB_XFIXES_SELECTION_NOTIFY;
    constexpr std::uint32_t all = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                  XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                  XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;
    for (std::uint32_t const selection : {names.clipboard, names.manager})
        xcb_xfixes_select_selection_input(x(), ownWindow, selection, all);
}

void ClipboardLink::expect(unsigned sequence, Reply handler)
{
    expected.push_back({sequence, std::move(handler)});
}

void ClipboardLink::askTime(Time handler)
{
    timeAsked.push_back(std::move(handler));
    // Appends nothing; the event has the server's time.
    xcb_change_property(x(), XCB_PROP_MODE_APPEND, ownWindow, clock, XCB_ATOM_INTEGER, 32, 0, nullptr);
}

bool ClipboardLink::takeReplies()
{
    bool tookAny = false;
    while (!expected.empty()) {
        void* raw = nullptr;
        xcb_generic_error_t* rawError = nullptr;
        if (!xcb_poll_for_reply(x(), expected.front().sequence, &raw, &rawError))
            break;
        XReply<void> const reply(raw);
        XReply<xcb_generic_error_t> const error(rawError);
        Reply const handler = std::move(expected.front().handler);
        expected.pop_front();
        tookAny = true;
        handler(reply.get());
    }
    return tookAny;
}

void ClipboardLink::noteProperty(void const* event)
{
    auto const& change = *static_cast<xcb_property_notify_event_t const*>(event);
    if (change.window != ownWindow || change.atom != clock || timeAsked.empty())
        return;
    Time const handler = std::move(timeAsked.front());
    timeAsked.pop_front();
    handler(change.time);
}

} // namespace zelvo
