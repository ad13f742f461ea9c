#include "platform/linux/wayland/portal/PortalHotKey.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>

#include <algorithm>
#include <atomic>
#include <optional>
#include <utility>

namespace zelvo {

namespace {

constexpr char const* portal = "GlobalShortcuts";
constexpr char const* shortcut = "pause";

} // namespace

/// Runs on the agent, except `state`.
class PortalHotKey::Binding : public std::enable_shared_from_this<Binding> {
public:
    Binding(Contexts contexts,
            Clock& clock,
            std::shared_ptr<PortalRequests> requests,
            std::string description)
        : contexts(std::move(contexts)), clock(clock), requests(std::move(requests)),
          description(std::move(description))
    {
    }

    std::atomic<State> state = State::notAsked;
    std::function<void()> onPressed;
    std::function<void(State)> onChange;

    void bind()
    {
        if (state == State::asking || state == State::available)
            return;
        change(State::asking);
        spawn(contexts.agent, [self = shared_from_this()] { return self->open(); });
    }

    void stop()
    {
        onPressed = {};
        onChange = {};
        if (!std::exchange(isStopped, true) && !session.empty())
            requests->closeSession(session);
    }

private:
    Task<> open()
    {
        State next = State::notAsked;
        try {
            if (co_await requests->version(portal) == 0)
                next = State::missing;
            else if (co_await create())
                next = co_await ask();
        } catch (BusFailure const&) {
            next = State::notAsked;
        }
        if (isStopped || (next != State::available && !session.empty()))
            requests->closeSession(std::exchange(session, {}));
        change(next);
    }

    Task<bool> create()
    {
        PortalRequest request{.interface = portal, .member = "CreateSession"};
        request.options = [token = PortalRequests::newToken()](sd_bus_message* message) {
            PortalRequests::appendText(message, "session_handle_token", token);
        };
        auto const answer = co_await requests->request(std::move(request));
        if (answer.code != PortalAnswer::Code::done || !isSessionHandle(answer.sessionHandle))
            co_return false;
        session = answer.sessionHandle;
        follow();
        co_return true;
    }

    Task<State> ask()
    {
        PortalRequest request{.interface = portal, .member = "BindShortcuts", .patience = patience};
        request.arguments = [this](sd_bus_message* message) {
            sd_bus_message_append(message, "oa(sa{sv})s", session.c_str(), 1, shortcut, 2, "description", "s",
                                  description.c_str(), "preferred_trigger", "s", trigger, "");
        };
        auto const answer = co_await requests->request(std::move(request));
        if (answer.code == PortalAnswer::Code::silent || session.empty())
            co_return State::notAsked;
        bool const isBound = answer.code == PortalAnswer::Code::done &&
                             std::ranges::find(answer.shortcuts, shortcut) != answer.shortcuts.end();
        co_return isBound ? State::available : State::refused;
    }

    void follow()
    {
        requests->followSession(session, [weak = weak_from_this()] {
            if (auto const self = weak.lock()) {
                self->session.clear();
                if (self->state == State::available)
                    self->change(State::notAsked);
            }
        });
        if (std::exchange(isWatching, true))
            return;
        requests->watch(portal, "Activated", [weak = weak_from_this()](sd_bus_message* message) {
            auto const self = weak.lock();
            if (self && readText(message) == self->session && readText(message) == shortcut)
                self->press();
        });
    }

    void press()
    {
        Instant const at = clock.now();
        bool const repeats = pressed && at - *pressed < repeatGap;
        pressed = at;
        if (!repeats && onPressed)
            asio::post(contexts.main, onPressed);
    }

    void change(State next)
    {
        state = next;
        if (onChange)
            onChange(next);
    }

    Contexts const contexts;
    Clock& clock;
    std::shared_ptr<PortalRequests> const requests;
    std::string const description;
    std::string session; ///< its handle; empty if there is none
    std::optional<Instant> pressed;
    bool isWatching = false;
    bool isStopped = false;
};

PortalHotKey::PortalHotKey(Contexts const& contexts,
                           Clock& clock,
                           std::shared_ptr<PortalRequests> requests,
                           std::string description)
    : agent(contexts.agent),
      binding(std::make_shared<Binding>(contexts, clock, std::move(requests), std::move(description)))
{
}

PortalHotKey::~PortalHotKey()
{
    asio::dispatch(agent, [kept = std::move(binding)] { kept->stop(); });
}

void PortalHotKey::start(std::function<void()> onPressed)
{
    asio::dispatch(agent, [kept = binding, onPressed = std::move(onPressed)]() mutable {
        kept->onPressed = std::move(onPressed);
    });
}

void PortalHotKey::bind()
{
    asio::dispatch(agent, [kept = binding] { kept->bind(); });
}

PortalHotKey::State PortalHotKey::state() const
{
    return binding->state;
}

void PortalHotKey::observe(std::function<void(State)> observer)
{
    asio::dispatch(agent, [kept = binding, observer = std::move(observer)]() mutable {
        kept->onChange = std::move(observer);
    });
}

} // namespace zelvo
