#include "platform/linux/x11/input/X11EventPosting.h"

#include "base/Hop.h"
#include "platform/linux/input/ClickSpacing.h"
#include "platform/linux/input/KeyPositions.h"
#include "platform/linux/x11/X11Events.h"
#include "platform/linux/x11/input/DesktopSettings.h"
#include "platform/linux/x11/input/InputConnection.h"
#include "platform/linux/x11/input/Keyboard.h"
#include "platform/linux/x11/input/SwitchPoster.h"
#include "platform/linux/x11/input/TextTyping.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <mutex>

namespace zelvo {

namespace {

// Without a settings manager each toolkit has a time of its own; Chromium has the longest, GTK and Qt have
// 400 ms.
constexpr Duration usualDoubleClickTime = 500ms;
constexpr Duration maxDoubleClickTime = 5s; // A foreign program's number must not stop us.
constexpr Duration maxHoldUp =
    200ms; // Of a window manager that looks at a press before the application does.

bool isPress(PostedEvent const& event)
{
    auto const* mouse = std::get_if<MouseEvent>(&event);
    return mouse && mouse->kind == MouseEvent::Kind::down;
}

bool beginsSeries(PostedEvent const& event)
{
    auto const* mouse = std::get_if<MouseEvent>(&event);
    return mouse && mouse->kind == MouseEvent::Kind::down && mouse->clickState == 1;
}

} // namespace

/// What is there when the server can be used. But for pointer(), all runs on the workers: typing one call at
/// a time, what is pressed and released under a lock, since all may be let go of at any time.
class X11EventPosting::Machine {
public:
    Machine(Contexts contexts,
            Clock& clock,
            std::function<DisplayLayout()> layout,
            std::shared_ptr<InputConnection> opened)
        : connection(std::move(opened)), keyboard(*connection),
          typing(contexts, clock, *connection, keyboard), switches(*connection, keyboard), clock(clock),
          layout(std::move(layout)),
          // Other programs may change the keymap while nothing is typed, as often as they like.
          events(contexts,
                 std::shared_ptr<xcb_connection_t>(connection, connection->raw()),
                 [connection = connection] { connection->pump(); })
    {
        typing.borrower().recover();
        switches.recover();
    }

    bool post(PostedEvent const& event)
    {
        std::scoped_lock const guard(lock);
        bool const made = std::visit([this](auto const& one) { return make(one); }, event);
        return made && connection->isAlive();
    }

    void releaseAll()
    {
        std::scoped_lock const guard(lock);
        switches.releaseAll();
    }

    bool hasTakenRelease()
    {
        std::scoped_lock const guard(lock);
        return switches.hasTakenRelease();
    }

    std::optional<Instant> earliestClick(DesktopPoint point, Duration doubleClickTime)
    {
        std::scoped_lock const guard(lock);
        return spacing.earliest(point, doubleClickTime);
    }

    bool make(MouseEvent const& event)
    {
        bool const made = switches.post(event, layout());
        if (event.kind == MouseEvent::Kind::down) {
            connection->roundTrip(); // The server's time of the press is not after this.
            spacing.pressed(event.point, event.clickState, clock.now());
        }
        return made;
    }

    bool make(KeyEvent const& event) { return switches.post(event); }

    bool make(ScrollEvent const& event)
    {
        switches.post(event);
        return true;
    }

    bool make(TextEvent const&) { return true; } // Typed when its key went down.

    std::vector<std::vector<std::string>> chordsOf(KeyEvent const& event)
    {
        auto const keycode = keycodeAtPosition(event.keyCode);
        if (!keycode || !keyboard.refresh())
            return {};
        return keyboard.readings(*keycode, event.flags);
    }

    DesktopPoint pointer() const
    {
        auto const cookie = xcb_query_pointer(connection->raw(), connection->root());
        XReply<xcb_query_pointer_reply_t> const reply(
            xcb_query_pointer_reply(connection->raw(), cookie, nullptr));
        return reply ? layout().toPoints({reply->root_x, reply->root_y}) : DesktopPoint{};
    }

    /// What the settings manager says, if there is one.
    Duration doubleClickTime() const
    {
        auto const cookie = xcb_get_selection_owner(connection->raw(), connection->atom("_XSETTINGS_S0"));
        XReply<xcb_get_selection_owner_reply_t> const manager(
            xcb_get_selection_owner_reply(connection->raw(), cookie, nullptr));
        if (!manager || manager->owner == XCB_WINDOW_NONE)
            return usualDoubleClickTime;
        auto const asked =
            xcb_get_property(connection->raw(), 0, manager->owner, connection->atom("_XSETTINGS_SETTINGS"),
                             XCB_GET_PROPERTY_TYPE_ANY, 0, 65536);
        XReply<xcb_get_property_reply_t> const settings(
            xcb_get_property_reply(connection->raw(), asked, nullptr));
        if (!settings || settings->format != 8)
            return usualDoubleClickTime;
        auto const* bytes = static_cast<std::uint8_t const*>(xcb_get_property_value(settings.get()));
        auto const length = static_cast<std::size_t>(xcb_get_property_value_length(settings.get()));
        auto const milliseconds = integerSetting({bytes, length}, "Net/DoubleClickTime");
        return milliseconds && *milliseconds > 0
                   ? std::min<Duration>(std::chrono::milliseconds(*milliseconds), maxDoubleClickTime)
                   : usualDoubleClickTime;
    }

    std::shared_ptr<InputConnection> connection;
    Keyboard keyboard;
    TextTyping typing;

private:
    std::mutex lock;
    SwitchPoster switches; // lock
    ClickSpacing spacing;  // lock
    Clock& clock;
    std::function<DisplayLayout()> layout;
    X11Events events;
};

X11EventPosting::X11EventPosting(Contexts contexts, Clock& clock, std::function<DisplayLayout()> layout)
    : contexts(contexts), clock(clock)
{
    if (auto connection = InputConnection::open())
        machine = std::make_unique<Machine>(contexts, clock, std::move(layout), std::move(connection));
}

X11EventPosting::~X11EventPosting() = default;

Task<> X11EventPosting::ready(PostedEvent event)
{
    if (!machine)
        co_return;
    if (beginsSeries(event))
        co_await waitForClickOfItsOwn(std::get<MouseEvent>(event));
    if (isPress(event))
        co_await waitForRelease();
    auto* const text = std::get_if<TextEvent>(&event);
    if (text && text->kind == KeyEvent::Kind::down)
        co_await machine->typing.ready(text->text);
}

Task<> X11EventPosting::waitForRelease()
{
    Instant const deadline = clock.now() + maxHoldUp;
    while (clock.now() < deadline) {
        bool const taken = co_await on(contexts.workers, [this] { return machine->hasTakenRelease(); });
        if (taken)
            break;
        co_await clock.sleepThroughCancel(1ms);
    }
}

Task<bool> X11EventPosting::post(PostedEvent event)
{
    if (!machine)
        co_return false;
    auto* const text = std::get_if<TextEvent>(&event);
    if (text && text->kind == KeyEvent::Kind::down)
        co_return co_await machine->typing.type(std::move(text->text));
    co_return co_await on(contexts.workers, [this, &event] { return machine->post(event); });
}

Task<> X11EventPosting::waitForClickOfItsOwn(MouseEvent event)
{
    if (!machine->earliestClick(event.point, maxDoubleClickTime))
        co_return; // Nowhere near the last click; no need to ask for the time.
    Duration const time = co_await on(contexts.workers, [this] { return machine->doubleClickTime(); });
    auto const due = machine->earliestClick(event.point, time);
    if (due && *due > clock.now())
        co_await clock.sleepThroughCancel(*due - clock.now());
}

Task<> X11EventPosting::beginText(std::string text)
{
    if (machine)
        co_await machine->typing.begin(std::move(text));
}

Task<> X11EventPosting::endText()
{
    if (machine)
        co_await machine->typing.end();
}

Task<> X11EventPosting::releaseAll()
{
    if (machine)
        co_await on(contexts.workers, [this] { machine->releaseAll(); });
}

Task<> X11EventPosting::drained()
{
    if (machine)
        co_await on(contexts.workers, [this] { machine->connection->roundTrip(); });
}

Task<bool> X11EventPosting::delivered()
{
    co_return !machine || co_await machine->typing.delivered();
}

Task<std::vector<std::vector<std::string>>> X11EventPosting::chordsOf(KeyEvent event)
{
    if (!machine)
        co_return std::vector<std::vector<std::string>>();
    co_return co_await on(contexts.workers, [this, &event] { return machine->chordsOf(event); });
}

DesktopPoint X11EventPosting::pointerLocation()
{
    return machine ? machine->pointer() : DesktopPoint{};
}

} // namespace zelvo
