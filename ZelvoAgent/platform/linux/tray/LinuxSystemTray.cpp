#include "platform/linux/tray/LinuxSystemTray.h"

#include "base/LockedBox.h"
#include "platform/linux/tray/NotifierHost.h"
#include "platform/linux/tray/X11TrayWindow.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>

#include <vector>

namespace zelvo {

namespace {

struct TrayFacts {
    bool hasHost = false;
    TrayState window; ///< of the X server

    TrayState state() const
    {
        return {.isPresent = hasHost || window.isPresent, .foreground = window.foreground};
    }
};

} // namespace

struct LinuxSystemTray::State : std::enable_shared_from_this<State> {
    explicit State(Executor main) : main(std::move(main)) {}

    template <class F>
    void change(F edit)
    {
        bool isChange = false;
        facts.change([&](TrayFacts& all) {
            TrayState const before = all.state();
            edit(all);
            isChange = all.state() != before;
        });
        if (isChange)
            asio::post(main, [self = shared_from_this()] {
                for (auto const& observer : self->observers.get())
                    observer();
            });
    }

    Executor main;
    LockedBox<TrayFacts> facts;
    LockedBox<std::vector<std::function<void()>>> observers;
};

struct LinuxSystemTray::Sources {
    Sources(Contexts const& contexts,
            BusConnection& session,
            std::shared_ptr<X11Connection> const& connection,
            std::shared_ptr<State> const& state)
        : host(std::make_shared<NotifierHost>(
              session,
              [state](bool hasHost) { state->change([&](TrayFacts& facts) { facts.hasHost = hasHost; }); })),
          window(contexts, connection, [state](TrayState next) {
              state->change([&](TrayFacts& facts) { facts.window = next; });
          })
    {
        host->start();
    }

    std::shared_ptr<NotifierHost> host;
    X11TrayWindow window;
};

LinuxSystemTray::LinuxSystemTray(Contexts const& contexts,
                                 BusConnection& session,
                                 std::shared_ptr<X11Connection> const& connection)
    : agent(contexts.agent), state(std::make_shared<State>(contexts.main)),
      sources(std::make_shared<Sources>(contexts, session, connection, state))
{
}

LinuxSystemTray::~LinuxSystemTray()
{
    asio::dispatch(agent, [kept = std::move(sources)] {});
}

TrayState LinuxSystemTray::current() const
{
    return state->facts.get().state();
}

void LinuxSystemTray::observe(std::function<void()> observer)
{
    state->observers.change([&](auto& all) { all.push_back(std::move(observer)); });
}

} // namespace zelvo
