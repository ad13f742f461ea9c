#include "platform/linux/x11/clipboard/ClipboardServing.h"

#include "platform/linux/x11/clipboard/ClipboardLink.h"

#include <xcb/xcb.h>

#include <utility>

namespace zelvo {

namespace {

/// Limits of MULTIPLE requests: conversions in each, and requests at a time.
constexpr std::uint32_t maxPairs = 32;
constexpr std::size_t maxLists = 32;

/// The server's time wraps around every 49 days, and so do sequence numbers eventually.
bool isBefore(std::uint32_t time, std::uint32_t other)
{
    return static_cast<std::int32_t>(time - other) < 0;
}

} // namespace

void ClipboardServing::own(std::shared_ptr<OfferedText const> text, std::function<void(bool)> done)
{
    link.askTime([this, text = std::move(text), done = std::move(done)](std::uint32_t time) {
        take(text, time, done);
    });
}

void ClipboardServing::take(std::shared_ptr<OfferedText const> text,
                            std::uint32_t time,
                            std::function<void(bool)> done)
{
    // From now on the server may send requests, even before it confirms the selection.
    offered = std::move(text);
    since = time;
    claim = xcb_set_selection_owner(link.x(), link.window(), link.atoms().clipboard, time).sequence;
    auto const asked = xcb_get_selection_owner(link.x(), link.atoms().clipboard);
    link.expect(asked.sequence, [this, done = std::move(done), own = claim](void const* reply) {
        auto const* const owner = static_cast<xcb_get_selection_owner_reply_t const*>(reply);
        bool const isOurs = owner && owner->owner == link.window();
        if (!isOurs && claim == own)
            offered.reset();
        done(isOurs);
    });
}

std::vector<std::uint32_t> ClipboardServing::forms() const
{
    ClipboardAtoms const& atoms = link.atoms();
    return {atoms.utf8String, atoms.textPlainUtf8, atoms.textPlain, atoms.text, XCB_ATOM_STRING};
}

void ClipboardServing::noteClear(void const* event)
{
    auto const& clear = *static_cast<xcb_selection_clear_event_t const*>(event);
    // An event sent before we took the selection again is out of date. Times do not show that: two programs
    // may take the selection within one millisecond.
    bool const isOfNow = !isBefore(static_cast<xcb_generic_event_t const*>(event)->full_sequence, claim);
    if (clear.selection == link.atoms().clipboard && clear.owner == link.window() && isOfNow)
        offered.reset();
}

void ClipboardServing::noteRequest(void const* event)
{
    auto const& request = *static_cast<xcb_selection_request_event_t const*>(event);
    Asked const asked{.requestor = request.requestor,
                      .selection = request.selection,
                      .target = request.target,
                      // Old programs name no property.
                      .property = request.property ? request.property : request.target,
                      .time = request.time};
    if (request.owner != link.window() || !concerns(asked))
        answer(asked, false);
    else if (asked.target == link.atoms().multiple)
        convertSeveral(asked);
    else
        answer(asked, convert(asked.target, {asked.requestor, asked.property}));
}

bool ClipboardServing::concerns(Asked const& asked) const
{
    return offered && asked.selection == link.atoms().clipboard &&
           (asked.time == XCB_CURRENT_TIME || !isBefore(asked.time, since));
}

bool ClipboardServing::convert(std::uint32_t target, ClipboardPlace place)
{
    ClipboardAtoms const& atoms = link.atoms();
    if (target == atoms.targets) {
        std::vector<std::uint32_t> all = {atoms.targets, atoms.timestamp, atoms.multiple};
        for (std::uint32_t const form : forms())
            all.push_back(form);
        giveNumbers(place, XCB_ATOM_ATOM, all);
        return true;
    }
    if (target == atoms.timestamp) {
        giveNumbers(place, XCB_ATOM_INTEGER, {since});
        return true;
    }
    return giveText(target, place);
}

bool ClipboardServing::giveText(std::uint32_t target, ClipboardPlace place)
{
    ClipboardAtoms const& atoms = link.atoms();
    bool const isLatin1 = target == XCB_ATOM_STRING;
    if (!isLatin1 && target != atoms.utf8String && target != atoms.textPlainUtf8 &&
        target != atoms.textPlain && target != atoms.text)
        return false;
    std::string_view const bytes = isLatin1 ? offered->latin1() : std::string_view(offered->utf8);
    std::uint32_t const type = target == atoms.text ? atoms.utf8String : target;
    if (bytes.size() > link.pieceSize())
        return open.begin(place, type, offered, bytes);
    xcb_change_property(link.x(), XCB_PROP_MODE_REPLACE, place.window, place.property, type, 8,
                        static_cast<std::uint32_t>(bytes.size()), bytes.data());
    return true;
}

void ClipboardServing::giveNumbers(ClipboardPlace place,
                                   std::uint32_t type,
                                   std::vector<std::uint32_t> const& numbers)
{
    xcb_change_property(link.x(), XCB_PROP_MODE_REPLACE, place.window, place.property, type, 32,
                        static_cast<std::uint32_t>(numbers.size()), numbers.data());
}

/// The property contains the list of conversions.
void ClipboardServing::convertSeveral(Asked asked)
{
    // A request without a property has no list.
    if (listsAsked >= maxLists || asked.property == link.atoms().multiple) {
        answer(asked, false);
        return;
    }
    ++listsAsked;
    auto const question = xcb_get_property(link.x(), 0, asked.requestor, asked.property,
                                           XCB_GET_PROPERTY_TYPE_ANY, 0, 2 * maxPairs);
    link.expect(question.sequence, [this, asked](void const* raw) {
        --listsAsked;
        auto const* const reply = static_cast<xcb_get_property_reply_t const*>(raw);
        bool const isList = reply && reply->format == 32 && reply->bytes_after == 0;
        auto pairs = isList ? parseAtomPairs({static_cast<char const*>(xcb_get_property_value(reply)),
                                              static_cast<std::size_t>(xcb_get_property_value_length(reply))})
                            : std::nullopt;
        answer(asked, pairs && concerns(asked) && convertPairs(asked, *std::move(pairs)));
    });
}

/// Marks failed conversions in the list: by convention in place of the target, by the toolkits' habit in
/// place of the property.
bool ClipboardServing::convertPairs(Asked const& asked, std::vector<AtomPair> pairs)
{
    std::vector<std::uint32_t> results;
    for (AtomPair& pair : pairs) {
        if (!pair.property || !convert(pair.target, {asked.requestor, pair.property}))
            pair = {.target = XCB_NONE, .property = XCB_NONE};
        results.push_back(pair.target);
        results.push_back(pair.property);
    }
    giveNumbers({asked.requestor, asked.property}, link.atoms().atomPair, results);
    return true;
}

void ClipboardServing::answer(Asked const& asked, bool given)
{
    // The server sends 32 bytes for every event.
    union {
        xcb_selection_notify_event_t notify;
        char whole[32];
    } event{};
    event.notify.response_type = XCB_SELECTION_NOTIFY;
    event.notify.time = asked.time;
    event.notify.requestor = asked.requestor;
    event.notify.selection = asked.selection;
    event.notify.target = asked.target;
    event.notify.property = given ? asked.property : XCB_NONE;
    xcb_send_event(link.x(), 0, asked.requestor, XCB_EVENT_MASK_NO_EVENT, event.whole);
}

} // namespace zelvo
