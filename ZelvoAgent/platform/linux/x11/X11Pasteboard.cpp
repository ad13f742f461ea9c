#include "platform/linux/x11/X11Pasteboard.h"

#include "base/Hop.h"
#include "base/WakeList.h"
#include "platform/linux/x11/ClipboardLink.h"
#include "platform/linux/x11/ClipboardReading.h"
#include "platform/linux/x11/ClipboardServing.h"
#include "platform/linux/x11/XReply.h"

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <atomic>
#include <map>
#include <utility>

namespace zelvo {

namespace {

/// A shorter text is converted where it is; a hop to the workers would take longer.
constexpr std::size_t worthAHop = 64 << 10;
/// The server answers at once, unless another program holds it.
constexpr Duration patienceWithServer = 5s;
constexpr Duration patienceWithManager = 1500ms;

/// A yes or no that is waited for.
class Outcome {
public:
    void set(bool value)
    {
        list.wakeAll([&] {
            if (!known)
                known = value;
        });
    }
    Task<bool> get()
    {
        co_await list.wait([this] { return known.has_value(); });
        co_return list.with([this] { return *known; });
    }

private:
    WakeList list;
    std::optional<bool> known; // list
};

/// What a look at the clipboard has found.
struct Found {
    std::shared_ptr<OfferedText const> own; ///< ours, which nobody need be asked for
    std::optional<ClipboardBytes> foreign;

    std::size_t size() const { return own ? own->utf8.size() : foreign ? foreign->bytes.size() : 0; }
    std::string text() const
    {
        if (size() > Pasteboard::longestText)
            return {};
        return own ? own->utf8 : foreign ? foreign->text() : std::string();
    }
};

} // namespace

/// Everything that runs on the agent's thread.
struct X11Pasteboard::Engine : std::enable_shared_from_this<Engine> {
    Engine(Contexts contexts, Clock& clock, std::shared_ptr<ClipboardLink> opened)
        : contexts(std::move(contexts)), clock(clock), link(std::move(opened)), serving(*link, clock)
    {
        auto const asked = xcb_get_selection_owner(link->x(), link->atoms().manager);
        link->expect(asked.sequence, [this](void const* reply) {
            if (reply && manager == 0)
                manager = static_cast<xcb_get_selection_owner_reply_t const*>(reply)->owner;
        });
    }

    /// Takes all that has come, and sends what is to be sent.
    void arrived()
    {
        do {
            while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(link->x())})
                take(event.get());
        } while (link->takeReplies()); // Taking a reply reads nothing, so that no event can lie about now.
        xcb_flush(link->x());
        watchTransfers();
    }

    void take(void const* event)
    {
        auto const response = static_cast<xcb_generic_event_t const*>(event)->response_type;
        auto const type = response & 0x7f;
        // Answers come from the other program. Everything else is the server's word, which others may forge.
        if (type != response && type != XCB_SELECTION_NOTIFY)
            return;
        switch (type) {
        case 0: { // An error: a window that we wrote to has gone.
            auto const& error = *static_cast<xcb_generic_error_t const*>(event);
            if (error.error_code == XCB_WINDOW)
                serving.transfers().noteGone(error.resource_id);
            return;
        }
        case XCB_SELECTION_REQUEST:
            serving.noteRequest(event);
            return;
        case XCB_SELECTION_CLEAR:
            serving.noteClear(event);
            return;
        case XCB_SELECTION_NOTIFY:
            takeAnswer(event);
            return;
        case XCB_PROPERTY_NOTIFY:
            takeProperty(event);
            return;
        case XCB_DESTROY_NOTIFY:
            serving.transfers().noteGone(static_cast<xcb_destroy_notify_event_t const*>(event)->window);
            return;
        default:
            if (type == link->ownerEvent())
                takeOwner(event);
        }
    }

    void takeAnswer(void const* event)
    {
        auto const& answer = *static_cast<xcb_selection_notify_event_t const*>(event);
        if (auto const reading = readings.find(answer.requestor); reading != readings.end())
            reading->second->noteAnswer(event);
        else if (saving && answer.requestor == link->window() && answer.selection == link->atoms().manager)
            saving->set(answer.property != XCB_NONE);
    }

    void takeProperty(void const* event)
    {
        link->noteProperty(event);
        serving.transfers().noteProperty(event);
        auto const& change = *static_cast<xcb_property_notify_event_t const*>(event);
        if (auto const reading = readings.find(change.window); reading != readings.end())
            reading->second->noteProperty(event);
    }

    void takeOwner(void const* event)
    {
        auto const& change = *static_cast<xcb_xfixes_selection_notify_event_t const*>(event);
        if (change.selection == link->atoms().manager) {
            manager = change.owner;
            return;
        }
        // The end of an owner puts nothing on the clipboard, and neither does he who then keeps its text.
        bool const hasEnded = change.subtype != XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER;
        bool const isKept =
            manager && link->server()->clientOf(change.owner) == link->server()->clientOf(manager);
        if (!hasEnded && !isKept)
            ++changes;
        if (hasEnded)
            for (auto const& [window, reading] : readings)
                reading->giveUp(); // The server tells requestors nothing.
    }

    void watchTransfers()
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

    Task<Found> find()
    {
        arrived(); // Another program's taking the selection may just have come.
        if (serving.text())
            co_return Found{.own = serving.text(), .foreign = {}};
        auto const reading = std::make_shared<ClipboardReading>(link, clock);
        readings.emplace(reading->window(), reading);
        reading->start();
        arrived();
        TaskHandle watch = spawn(contexts.agent, [reading, &clock = clock]() -> Task<> {
            while (!reading->isOver()) {
                co_await clock.sleepUntil(reading->deadline());
                if (clock.now() >= reading->deadline())
                    reading->giveUp();
            }
        });
        co_await reading->finished();
        watch.cancel();
        readings.erase(reading->window());
        reading->close();
        co_return Found{.own = {}, .foreign = reading->take()};
    }

    Task<bool> own(std::shared_ptr<OfferedText const> text)
    {
        auto const outcome = std::make_shared<Outcome>();
        serving.own(std::move(text), [outcome](bool isOurs) { outcome->set(isOurs); });
        arrived();
        co_return co_await answered(outcome, patienceWithServer);
    }

    Task<> save()
    {
        arrived();
        if (!serving.text() || manager == 0)
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

    void askManager(std::uint32_t time)
    {
        std::vector<std::uint32_t> const forms = serving.forms();
        xcb_change_property(link->x(), XCB_PROP_MODE_REPLACE, link->window(), link->atoms().content,
                            XCB_ATOM_ATOM, 32, static_cast<std::uint32_t>(forms.size()), forms.data());
        xcb_convert_selection(link->x(), link->window(), link->atoms().manager, link->atoms().saveTargets,
                              link->atoms().content, time);
    }

    /// False when there is no answer in time.
    Task<bool> answered(std::shared_ptr<Outcome> outcome, Duration patience)
    {
        TaskHandle watch = spawn(contexts.agent, [outcome, patience, &clock = clock]() -> Task<> {
            co_await clock.sleep(patience);
            outcome->set(false);
        });
        bool const answer = co_await outcome->get();
        watch.cancel();
        co_return answer;
    }

    Contexts contexts;
    Clock& clock;
    std::shared_ptr<ClipboardLink> link;
    ClipboardServing serving;
    std::map<std::uint32_t, std::shared_ptr<ClipboardReading>> readings; ///< by their windows
    std::shared_ptr<Outcome> saving;
    std::uint32_t manager = 0; ///< the clipboard manager's window
    bool isWatching = false;
    std::atomic<std::int64_t> changes = 0; // any thread
};

X11Pasteboard::X11Pasteboard(Contexts given, Clock& clock, std::string const& display)
    : contexts(std::move(given))
{
    std::shared_ptr<ClipboardLink> const link = ClipboardLink::open(display);
    if (!link)
        return;
    engine = std::make_shared<Engine>(contexts, clock, link);
    events.emplace(contexts, link->server(), [engine = engine] { engine->arrived(); });
}

X11Pasteboard::~X11Pasteboard() = default;

std::int64_t X11Pasteboard::changeCount() const
{
    return engine ? engine->changes.load() : 0;
}

Task<std::string> X11Pasteboard::text()
{
    if (!engine)
        co_return std::string();
    auto const find = [engine = engine] { return engine->find(); };
    Found const found = co_await onStrand(contexts.agent, find);
    auto const convert = [&found] { return found.text(); };
    if (found.size() < worthAHop)
        co_return convert();
    co_return co_await on(contexts.workers, convert);
}

Task<bool> X11Pasteboard::setText(std::string text)
{
    if (!engine)
        co_return false;
    bool const isLong = text.size() >= worthAHop;
    auto const prepare = [&text] { return std::make_shared<OfferedText const>(std::move(text)); };
    std::shared_ptr<OfferedText const> offered;
    if (isLong)
        offered = co_await on(contexts.workers, prepare);
    else
        offered = prepare();
    auto const own = [engine = engine, offered] { return engine->own(offered); };
    co_return co_await onStrand(contexts.agent, own);
}

Task<> X11Pasteboard::handOver()
{
    if (!engine)
        co_return;
    auto const save = [engine = engine] { return engine->save(); };
    co_await onStrand(contexts.agent, save);
}

} // namespace zelvo
