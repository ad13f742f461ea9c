#include "platform/linux/dbus/LinuxSystemAccess.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/signals2/signal.hpp>

#include <algorithm>
#include <atomic>

namespace zelvo {

namespace {

constexpr char const* launcher = "org.a11y.Bus";

PermissionCauses causesOf(DisplayFacts const& display)
{
    using Kind = PermissionCause::Kind;
    if (!display.isReachable() || display.isXwayland()) {
        Kind const both = display.isReachable() ? Kind::waylandSession : Kind::noDisplay;
        return {.accessibility = {{both}}, .screenRecording = {{both}}};
    }
    PermissionCauses causes;
    if (!display.hasTestExtension())
        causes.accessibility.push_back({Kind::incompleteServer, {"XTEST"}});
    if (!display.canCapture())
        causes.screenRecording.push_back({Kind::incompleteServer, display.missingForCapture()});
    return causes;
}

} // namespace

DesktopFacts desktopFacts(DisplayFacts display)
{
    auto const permissions = [display] {
        bool const isDesktop = display.isReachable() && !display.isXwayland();
        return Permissions{.accessibility = isDesktop && display.hasTestExtension(),
                           .screenRecording = isDesktop && display.canCapture()};
    };
    return {.permissions = permissions, .causes = [display] { return causesOf(display); }};
}

/// Runs on the agent executor, except `answers` and `changed`.
class LinuxSystemAccess::AccessibilityBus : public std::enable_shared_from_this<AccessibilityBus> {
public:
    AccessibilityBus(Contexts const& contexts, Clock& clock, BusConnection& session)
        : agent(contexts.agent), main(contexts.main), session(session),
          bus(contexts.agent, clock, [this] { return openBusAt(address); })
    {
    }

    void start(std::optional<std::string> const& known)
    {
        bus.watchConnection([weak = weak_from_this()](sd_bus* connected) {
            auto const self = weak.lock();
            if (!self)
                return;
            self->answers = connected != nullptr;
            self->reportChange();
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

    /// Thread: any.
    void reportChange()
    {
        asio::post(main, [kept = changed] { (*kept)(); });
    }

    Executor const agent;
    std::atomic<bool> answers = false;
    // Kept apart, because this must not be destroyed on main.
    std::shared_ptr<boost::signals2::signal<void()>> const changed =
        std::make_shared<boost::signals2::signal<void()>>();

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

    Executor const main;
    BusConnection& session;
    std::string address;
    BusConnection bus;
    bool isFixed = false;
    bool isAsking = false;
};

LinuxSystemAccess::LinuxSystemAccess(Contexts const& contexts,
                                     Clock& clock,
                                     BusConnection& session,
                                     DesktopFacts desktop,
                                     std::optional<std::string> address,
                                     UnreadableApplications unreadable)
    : accessibility(std::make_shared<AccessibilityBus>(contexts, clock, session)),
      desktop(std::move(desktop)), unreadable(std::move(unreadable))
{
    asio::dispatch(contexts.agent,
                   [kept = accessibility, address = std::move(address)] { kept->start(address); });
}

LinuxSystemAccess::~LinuxSystemAccess()
{
    asio::dispatch(accessibility->agent, [kept = std::move(accessibility)] {});
}

Permissions LinuxSystemAccess::current()
{
    Permissions given = desktop.permissions();
    given.accessibility = given.accessibility && accessibility->answers;
    return given;
}

PermissionCauses LinuxSystemAccess::causes()
{
    using Kind = PermissionCause::Kind;
    PermissionCauses causes = desktop.causes();
    auto const isNoDesktop = [](PermissionCause const& cause) {
        return cause.kind == Kind::noDisplay || cause.kind == Kind::waylandSession;
    };
    if (std::ranges::any_of(causes.accessibility, isNoDesktop))
        return causes;
    if (!accessibility->answers)
        causes.accessibility.push_back({Kind::noAccessibilityBus});
    if (auto names = unreadable ? unreadable() : std::vector<std::string>(); !names.empty())
        causes.accessibility.push_back({Kind::startedTooEarly, std::move(names)});
    return causes;
}

void LinuxSystemAccess::request(PermissionCause::Kind kind)
{
    if (desktop.request)
        desktop.request(kind);
}

boost::signals2::connection LinuxSystemAccess::observe(std::function<void()> observer)
{
    return accessibility->changed->connect(observer);
}

void LinuxSystemAccess::noteChange()
{
    accessibility->reportChange();
}

} // namespace zelvo
