#include "platform/linux/x11/overlays/X11OverlayWindows.h"

#include "base/DelayedCall.h"
#include "base/Hop.h"
#include "platform/linux/x11/X11Events.h"
#include "platform/linux/x11/XReply.h"
#include "platform/linux/x11/overlays/X11OverlayWindow.h"

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <ranges>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

/// How often windows are put above others again, at most.
constexpr Duration restackInterval = 100ms;

/// What the events that have arrived mean for overlay windows.
struct OverlayEvents {
    bool isStackChanged = false;
    std::optional<bool> isComposited;
    bool isAny() const { return isStackChanged || isComposited; }
};

bool changesStack(OverlayServer const& server, xcb_generic_event_t const& event)
{
    switch (event.response_type & 0x7f) {
    case XCB_MAP_NOTIFY:
    case XCB_CONFIGURE_NOTIFY:
    case XCB_CIRCULATE_NOTIFY:
    case XCB_REPARENT_NOTIFY:
        break;
    default:
        return false;
    }
    // All of these have the window in the same field.
    std::uint32_t const about = reinterpret_cast<xcb_map_notify_event_t const&>(event).window;
    std::uint32_t const own = xcb_get_setup(server.connection->get())->resource_id_base;
    return server.connection->clientOf(about) != own;
}

/// selectionEvent is const after OverlayServer::open(), so this may run on the agent's thread.
OverlayEvents takeEvents(OverlayServer const& server)
{
    OverlayEvents all;
    while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(server.connection->get())}) {
        all.isStackChanged = changesStack(server, *event) || all.isStackChanged;
        if (server.selectionEvent && (event->response_type & 0x7f) == server.selectionEvent)
            all.isComposited =
                reinterpret_cast<xcb_xfixes_selection_notify_event_t const&>(*event).owner != XCB_NONE;
    }
    return all;
}

} // namespace

/// The windows that are open, from back to front, and what keeps them in front.
class X11OverlayWindows::Stack : public std::enable_shared_from_this<Stack> {
public:
    Stack(Contexts given, Clock& clock)
        : contexts(std::move(given)), clock(clock), restacking(contexts.main, clock)
    {
    }

    void add(X11OverlayWindow& window)
    {
        auto const front = std::ranges::upper_bound(windows, window.layer, {}, &X11OverlayWindow::layer);
        windows.insert(front, &window);
        if (!server)
            connect();
        else if (windows.size() == 1)
            server->setWatching(true);
        if (server)
            window.remake(server);
    }

    void remove(X11OverlayWindow& window)
    {
        std::erase(windows, &window);
        if (!windows.empty() || !server)
            return;
        server->setWatching(false);
        xcb_flush(server->connection->get());
        takeArrived();
        restacking.cancel();
        isWaiting = false;
    }

    /// Handles what arrived while requests were sent: sending may read events, of which the agent's thread
    /// then hears nothing. To be called after requests.
    void takeArrived()
    {
        if (server)
            handleSoon(contexts.main, weak_from_this(), takeEvents(*server));
    }

    /// Puts the windows above all others, in their order. The server does nothing where they are already.
    void restack()
    {
        if (!server)
            return;
        lastRestack = clock.now();
        auto* const x = server->connection->get();
        std::uint32_t above = 0;
        for (X11OverlayWindow const* const window : windows | std::views::reverse) {
            if (!window->id())
                continue;
            std::uint32_t const values[] = {above, XCB_STACK_MODE_BELOW};
            std::uint32_t const front = XCB_STACK_MODE_ABOVE;
            if (above)
                xcb_configure_window(x, window->id(),
                                     XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE, values);
            else
                xcb_configure_window(x, window->id(), XCB_CONFIG_WINDOW_STACK_MODE, &front);
            above = window->id();
        }
        xcb_flush(x);
        takeArrived();
    }

    /// The displays have a new layout.
    void rearrange()
    {
        for (X11OverlayWindow* const window : windows)
            window->remake(server);
        restack();
    }

private:
    /// Connects on the workers, because it takes round trips.
    void connect()
    {
        if (std::exchange(isConnecting, true))
            return;
        spawn(contexts.workers, [weak = weak_from_this(), main = contexts.main]() -> Task<> {
            std::shared_ptr<OverlayServer> const opened = OverlayServer::open();
            asio::post(main, [weak, opened] {
                if (auto const self = weak.lock())
                    self->adopt(opened);
            });
            co_return;
        });
    }

    void adopt(std::shared_ptr<OverlayServer> opened)
    {
        isConnecting = false;
        server = std::move(opened);
        if (!server)
            return;
        server->setWatching(!windows.empty());
        auto const take = [weak = weak_from_this(), server = server, main = contexts.main] {
            handleSoon(main, weak, takeEvents(*server));
        };
        events.emplace(contexts, server->connection, take);
        rearrange();
    }

    /// Thread: any; so it never holds the stack, which ends on main.
    static void
    handleSoon(Executor const& main, std::weak_ptr<Stack> const& weak, OverlayEvents const& arrived)
    {
        if (arrived.isAny())
            asio::post(main, [weak, arrived] {
                if (auto const self = weak.lock())
                    self->handle(arrived);
            });
    }

    void handle(OverlayEvents const& arrived)
    {
        if (arrived.isComposited && *arrived.isComposited != server->isComposited) {
            server->isComposited = *arrived.isComposited;
            rearrange();
        } else if (arrived.isStackChanged && !windows.empty()) {
            restackSoon();
        }
    }

    /// Two programs that both want to be in front must not keep the machine busy.
    void restackSoon()
    {
        Duration const wait = lastRestack + restackInterval - clock.now();
        if (wait <= Duration::zero()) {
            restack();
        } else if (!std::exchange(isWaiting, true)) {
            restacking.in(wait, [this] {
                isWaiting = false;
                restack();
            });
        }
    }

    Contexts contexts;
    Clock& clock;
    std::shared_ptr<OverlayServer> server;
    std::vector<X11OverlayWindow*> windows;
    std::optional<X11Events> events;
    bool isConnecting = false;
    Instant lastRestack{};
    bool isWaiting = false;
    DelayedCall restacking;
};

class X11OverlayWindows::Window final : public OverlayWindow {
public:
    Window(Layer layer, X11DisplayLayout const& layout, std::shared_ptr<Stack> stack)
        : window(layer, layout), stack(std::move(stack))
    {
        this->stack->add(window);
    }
    ~Window() override { stack->remove(window); }
    Window(Window const&) = delete;
    Window& operator=(Window const&) = delete;

    void show(DesktopPoint place, OverlayPicture picture) override
    {
        bool const isNew = window.id() == 0;
        window.show(place, std::move(picture));
        if (isNew)
            stack->restack();
        else
            stack->takeArrived();
    }
    void move(DesktopPoint place) override
    {
        window.move(place);
        stack->takeArrived();
    }

private:
    X11OverlayWindow window;
    std::shared_ptr<Stack> stack;
};

X11OverlayWindows::X11OverlayWindows(Contexts contexts, Clock& clock, X11DisplayLayout& layout)
    : layout(layout), stack(std::make_shared<Stack>(std::move(contexts), clock))
{
    layout.observe([this, weak = std::weak_ptr(stack)] {
        auto const open = weak.lock();
        if (!open)
            return;
        open->rearrange();
        changed();
    });
}

X11OverlayWindows::~X11OverlayWindows() = default;

std::optional<OverlayWindows::MainDisplay> X11OverlayWindows::mainDisplay() const
{
    DisplayLayout const main = layout.current();
    if (main.widthPixels == 0)
        return std::nullopt;
    return MainDisplay{.width = main.widthPixels, .height = main.heightPixels, .scale = main.scale};
}

std::unique_ptr<OverlayWindow> X11OverlayWindows::open(Layer layer)
{
    return std::make_unique<Window>(layer, layout, stack);
}

} // namespace zelvo
