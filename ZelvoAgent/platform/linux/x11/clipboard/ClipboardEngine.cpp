#include "platform/linux/x11/clipboard/ClipboardEngine.h"

#include "platform/Pasteboard.h"
#include "platform/linux/x11/XReply.h"
#include "platform/linux/x11/clipboard/ClipboardLink.h"

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <utility>

namespace zelvo {

namespace {

/// The server answers at once, unless another program has grabbed it.
constexpr Duration patienceWithServer = 5s;
constexpr Duration patienceWithManager = 1500ms;

} // namespace

std::size_t ClipboardContent::size() const
{
    if (own)
        return own->utf8.size();
    return foreign ? foreign->bytes.size() : 0;
}

std::string ClipboardContent::text() const
{
    std::string text = own ? own->utf8 : std::string();
    if (!own && foreign)
        text = foreign->text();
    return text.size() <= Pasteboard::maxTextLength ? text : std::string();
}

void ClipboardEngine::Outcome::set(bool value)
{
    list.notifyAll([&] {
        if (!known)
            known = value;
    });
}

Task<bool> ClipboardEngine::Outcome::get()
{
    co_await list.wait([this] { return known.has_value(); });
    co_return list.with([this] { return *known; });
}

ClipboardEngine::ClipboardEngine(Contexts contexts,
                                 Clock& clock,
                                 std::shared_ptr<ClipboardLink> link,
                                 ProcessNaming naming)
    : contexts(std::move(contexts)), clock(clock), link(std::move(link)), serving(*this->link, clock),
      changes(std::make_shared<ClipboardChanges>(this->contexts, clock, this->link, std::move(naming)))
{
    changes->start();
}

void ClipboardEngine::arrived()
{
    do {
        while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(link->x())})
            take(event.get());
    } while (link->takeReplies()); // That reads nothing from the socket, so no event can be pending now.
    xcb_flush(link->x());
    watchTransfers();
}

void ClipboardEngine::take(void const* event)
{
    auto const response = static_cast<xcb_generic_event_t const*>(event)->response_type;
    auto const type = response & 0x7f;
    // Only the answers come from the other program. Everything else comes from the server, and others may
    // forge it.
    if (type != response && type != XCB_SELECTION_NOTIFY)
        return;
    switch (type) {
    case 0:
        takeError(event);
        break;
    case XCB_SELECTION_REQUEST:
        serving.noteRequest(event);
        break;
    case XCB_SELECTION_CLEAR:
        serving.noteClear(event);
        break;
    case XCB_SELECTION_NOTIFY:
        takeAnswer(event);
        break;
    case XCB_PROPERTY_NOTIFY:
        takeProperty(event);
        break;
    case XCB_DESTROY_NOTIFY:
        serving.transfers().noteGone(static_cast<xcb_destroy_notify_event_t const*>(event)->window);
        break;
    default:
        if (type == link->ownerEvent())
            takeOwner(event);
    }
}

void ClipboardEngine::takeError(void const* event)
{
    auto const& error = *static_cast<xcb_generic_error_t const*>(event);
    if (error.error_code == XCB_WINDOW) // A window that we wrote to was destroyed.
        serving.transfers().noteGone(error.resource_id);
}

void ClipboardEngine::takeAnswer(void const* event)
{
    auto const& answer = *static_cast<xcb_selection_notify_event_t const*>(event);
    if (auto const reading = readings.find(answer.requestor); reading != readings.end())
        reading->second->noteAnswer(event);
    else if (saving && answer.requestor == link->window() && answer.selection == link->atoms().manager)
        saving->set(answer.property != XCB_NONE);
}

void ClipboardEngine::takeProperty(void const* event)
{
    link->noteProperty(event);
    serving.transfers().noteProperty(event);
    auto const& change = *static_cast<xcb_property_notify_event_t const*>(event);
    if (auto const reading = readings.find(change.window); reading != readings.end())
        reading->second->noteProperty(event);
}

void ClipboardEngine::takeOwner(void const* event)
{
    changes->noteOwner(event);
    if (static_cast<xcb_xfixes_selection_notify_event_t const*>(event)->selection == link->atoms().manager)
        return;
    for (auto const& [window, reading] : readings)
        reading->noteOwner(event);
}

Task<std::vector<ClipboardChange>> ClipboardEngine::changesAfter(std::int64_t count)
{
    arrived();
    co_return co_await changes->after(count);
}

void ClipboardEngine::watchTransfers()
{
    if (isWatching || serving.transfers().count() == 0)
        return;
    isWatching = true;
    spawn(contexts.agent, [weak = weak_from_this(), &clock = clock]() -> Task<> {
        for (;;) {
            auto self = weak.lock();
            auto const end = self ? self->serving.transfers().nextEnd() : std::nullopt;
            if (self && !end)
                self->isWatching = false;
            if (!end)
                co_return;
            self.reset();
            co_await clock.sleepUntil(*end);
            self = weak.lock();
            if (self) {
                self->serving.transfers().dropSilent();
                xcb_flush(self->link->x());
            }
        }
    });
}

Task<ClipboardContent> ClipboardEngine::find()
{
    arrived(); // Another program may have taken the selection just now.
    if (serving.text())
        co_return ClipboardContent{.own = serving.text(), .foreign = {}};
    auto const reading = std::make_shared<ClipboardReading>(link, clock);
    readings.emplace(reading->window(), reading);
    reading->start();
    arrived();
    co_await finish(reading);
    readings.erase(reading->window());
    reading->close();
    co_return ClipboardContent{.own = {}, .foreign = reading->take()};
}

/// Waits for the end of a reading, or ends it when its time is over.
Task<> ClipboardEngine::finish(std::shared_ptr<ClipboardReading> reading)
{
    TaskHandle watch = spawn(contexts.agent, [reading, &clock = clock]() -> Task<> {
        while (!reading->isOver()) {
            co_await clock.sleepUntil(reading->deadline());
            if (clock.now() >= reading->deadline())
                reading->giveUp();
        }
    });
    co_await reading->finished();
    watch.cancel();
}

Task<bool> ClipboardEngine::own(std::shared_ptr<OfferedText const> text)
{
    auto const outcome = std::make_shared<Outcome>();
    serving.own(std::move(text), [outcome](bool isOurs) { outcome->set(isOurs); });
    arrived();
    co_return co_await answered(outcome, patienceWithServer);
}

Task<> ClipboardEngine::save()
{
    arrived();
    if (!serving.text() || changes->manager() == 0)
        co_return;
    auto const outcome = std::make_shared<Outcome>();
    saving = outcome;
    link->askTime([weak = weak_from_this()](std::uint32_t time) {
        if (auto const self = weak.lock())
            self->askManager(time);
    });
    arrived();
    co_await answered(outcome, patienceWithManager);
    saving.reset();
}

void ClipboardEngine::askManager(std::uint32_t time)
{
    changes->expectKeeping();
    std::vector<std::uint32_t> const forms = serving.forms();
    xcb_change_property(link->x(), XCB_PROP_MODE_REPLACE, link->window(), link->atoms().content,
                        XCB_ATOM_ATOM, 32, static_cast<std::uint32_t>(forms.size()), forms.data());
    xcb_convert_selection(link->x(), link->window(), link->atoms().manager, link->atoms().saveTargets,
                          link->atoms().content, time);
}

Task<bool> ClipboardEngine::answered(std::shared_ptr<Outcome> outcome, Duration patience)
{
    TaskHandle watch = spawn(contexts.agent, [outcome, patience, &clock = clock]() -> Task<> {
        co_await clock.sleep(patience);
        outcome->set(false);
    });
    bool const answer = co_await outcome->get();
    watch.cancel();
    co_return answer;
}

} // namespace zelvo
