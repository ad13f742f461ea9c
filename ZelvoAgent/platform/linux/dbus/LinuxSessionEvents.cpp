#include "platform/linux/dbus/LinuxSessionEvents.h"

#include "base/LockedBox.h"
#include "platform/linux/dbus/LoginSession.h"
#include "platform/linux/dbus/ScreenSavers.h"
#include "platform/linux/dbus/SessionFacts.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>

namespace zelvo {

namespace {

struct Sources {
    std::shared_ptr<LoginSession> login;
    std::shared_ptr<ScreenSavers> savers;
};

} // namespace

struct LinuxSessionEvents::State {
    Executor main;
    std::function<bool()> displayReachable;
    LockedBox<SessionFacts> facts; // written on the agent executor
    LockedBox<std::vector<std::function<void(SessionEvent)>>> observers;

    template <class F>
    void change(F edit)
    {
        SessionFacts const before = facts.get();
        facts.change(edit);
        for (SessionEvent const event : eventsBetween(before, facts.get(), displayReachable()))
            report(event);
    }

    void report(SessionEvent event) const
    {
        for (auto const& observer : observers.get())
            asio::post(main, [observer, event] { observer(event); });
    }
};

LinuxSessionEvents::LinuxSessionEvents(Contexts const& contexts,
                                       Clock& clock,
                                       BusConnection& system,
                                       BusConnection& session,
                                       OwnSession own,
                                       std::function<bool()> displayReachable)
    : state(std::make_shared<State>()), agent(contexts.agent)
{
    state->main = contexts.main;
    state->displayReachable = std::move(displayReachable);
    auto onFacts = [kept = state](std::optional<LoginFacts> login) {
        kept->change([&](SessionFacts& facts) { facts.login = login; });
    };
    auto onSleep = [kept = state](bool goesToSleep) {
        kept->report(goesToSleep ? SessionEvent::willSleep : SessionEvent::didWake);
    };
    auto onShutdown = [kept = state] { kept->report(SessionEvent::willShutDown); };
    auto onSavers = [kept = state](std::set<std::string> active) {
        kept->change([&](SessionFacts& facts) { facts.activeSavers = std::move(active); });
    };
    auto const both = std::make_shared<Sources>();
    LoginSession::Events login{.onFacts = onFacts, .onSleep = onSleep, .onShutdown = onShutdown};
    both->login = std::make_shared<LoginSession>(agent, clock, system, std::move(own), std::move(login));
    both->savers = std::make_shared<ScreenSavers>(session, onSavers);
    both->login->start();
    both->savers->start();
    sources = both;
}

LinuxSessionEvents::~LinuxSessionEvents()
{
    asio::dispatch(agent, [kept = std::move(sources)] {});
}

Availability LinuxSessionEvents::current() const
{
    return availabilityOf(state->facts.get(), state->displayReachable());
}

void LinuxSessionEvents::observe(std::function<void(SessionEvent)> observer)
{
    state->observers.change([&](auto& all) { all.push_back(std::move(observer)); });
}

} // namespace zelvo
