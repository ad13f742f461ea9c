#include "platform/linux/dbus/LinuxSystemAccess.h"

#include <boost/asio/dispatch.hpp>

#include <atomic>

namespace zelvo {

namespace {

constexpr char const* launcher = "org.a11y.Bus";

}

/// Runs on the agent executor, except `answers`.
class LinuxSystemAccess::AccessibilityBus : public std::enable_shared_from_this<AccessibilityBus> {
public:
    AccessibilityBus(Executor agent, Clock& clock, BusConnection& session)
        : agent(agent), session(session), bus(agent, clock, [this] { return openBusAt(address); })
    {
    }

    void start(std::optional<std::string> const& known)
    {
        bus.watchConnection([weak = weak_from_this()](sd_bus* connected) {
            auto const self = weak.lock();
            if (!self)
                return;
            self->answers = connected != nullptr;
            if (!connected)
                self->ask();
        });
        if (known) {
            isFixed = true;
            return connect(*known);
        }
        session.watchName(launcher, [weak = weak_from_this()](std::string const&) {
            if (auto const self = weak.lock(); self && !self->answers)
                self->ask();
        });
    }

    Executor const agent;
    std::atomic<bool> answers = false;

private:
    /// Also at the start, when the name has no owner: the call starts the launcher.
    void ask()
    {
        if (isFixed || std::exchange(isAsking, true))
            return;
        BusCall call{
            .destination = launcher, .path = "/org/a11y/bus", .interface = launcher, .member = "GetAddress"};
        session.ask(
            std::move(call),
            [weak = weak_from_this()](sd_bus_message* reply) {
                auto const self = weak.lock();
                if (!self)
                    return;
                self->isAsking = false;
                self->connect(readText(reply).value_or(""));
            },
            [weak = weak_from_this()] {
                if (auto const self = weak.lock())
                    self->isAsking = false;
            });
    }

    void connect(std::string next)
    {
        if (next.empty())
            return;
        address = std::move(next);
        bus.start();
    }

    BusConnection& session;
    std::string address;
    BusConnection bus;
    bool isFixed = false;
    bool isAsking = false;
};

LinuxSystemAccess::LinuxSystemAccess(Executor agent,
                                     Clock& clock,
                                     BusConnection& session,
                                     DisplayFacts display,
                                     std::optional<std::string> address)
    : accessibility(std::make_shared<AccessibilityBus>(agent, clock, session)), display(std::move(display))
{
    asio::dispatch(agent, [kept = accessibility, address = std::move(address)] { kept->start(address); });
}

LinuxSystemAccess::~LinuxSystemAccess()
{
    asio::dispatch(accessibility->agent, [kept = std::move(accessibility)] {});
}

Permissions LinuxSystemAccess::current()
{
    bool const isDesktop = display.isReachable() && !display.isXwayland();
    return {.accessibility = isDesktop && display.hasTestExtension() && accessibility->answers,
            .screenRecording = isDesktop && display.canCapture()};
}

} // namespace zelvo
