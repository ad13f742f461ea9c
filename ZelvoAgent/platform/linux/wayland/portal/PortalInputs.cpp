#include "platform/linux/wayland/portal/PortalInputs.h"

#include "base/Hop.h"
#include "platform/linux/wayland/portal/EisOpening.h"

namespace zelvo {

namespace {

/// Everything that both ways are made of.
struct Making {
    Executor agent;
    Executor workers;
    Clock& clock;
    BusConnection& bus;
    PortalInput::Doors doors;
};

Task<std::shared_ptr<InputSink>> connect(std::shared_ptr<Making const> making,
                                         std::shared_ptr<PortalSession> session)
{
    UniqueFd socket = co_await session->connectToEis();
    if (!socket)
        co_return nullptr;
    EisParts parts{
        .agent = making->agent,
        .clock = making->clock,
        .socket = std::move(socket),
        .streams = session->streams(),
        .layout = making->doors.layout,
        .barrier = [barrier = std::make_shared<PortalBarrier>(making->bus)] { return barrier->pass(); }};
    auto const open = [&parts] { return openEis(std::move(parts)); };
    co_return co_await on(making->agent, open);
}

std::optional<PortalInputs::Granted> granted(std::shared_ptr<Making const> const& making)
{
    auto const session = making->doors.session();
    if (!session || !session->isOpen() || !session->hasInput())
        return std::nullopt;
    PortalInputs::Granted now{.session = session};
    if (isEisBuilt() && session->remoteDesktop() >= 2)
        now.openEis = [making, session] { return connect(making, session); };
    return now;
}

} // namespace

bool PortalInputs::isReady() const
{
    auto const now = doors.granted();
    if (!now)
        return false;
    Choice const last = chosen.get();
    return last.session.lock() != now->session || last.sink->isReady();
}

/// Null if nothing is granted.
Task<std::shared_ptr<InputSink>> PortalInputs::choose()
{
    auto const now = doors.granted();
    Choice last = chosen.get();
    if (now && last.sink && last.session.lock() == now->session)
        co_return last.sink;
    last = {};
    chosen.set({}); // Releases what the last way holds, before the next one begins.
    if (!now)
        co_return nullptr;
    std::shared_ptr<InputSink> sink;
    if (now->openEis)
        sink = co_await now->openEis();
    if (!sink)
        sink = doors.makeCalls();
    chosen.set({.session = now->session, .sink = sink});
    co_return sink;
}

Task<bool> PortalInputs::moveTo(LogicalPoint point)
{
    auto const sink = co_await choose();
    co_return sink&& co_await sink->moveTo(point);
}

Task<bool> PortalInputs::button(int button, bool isDown)
{
    auto const sink = co_await choose();
    co_return sink&& co_await sink->button(button, isDown);
}

Task<bool> PortalInputs::scroll(int clicksDown, int clicksRight)
{
    auto const sink = co_await choose();
    co_return sink&& co_await sink->scroll(clicksDown, clicksRight);
}

Task<bool> PortalInputs::key(int key, bool isDown)
{
    auto const sink = co_await choose();
    co_return sink&& co_await sink->key(key, isDown);
}

Task<> PortalInputs::drained()
{
    if (auto const sink = chosen.get().sink)
        co_await sink->drained();
}

Task<bool> PortalInputs::type(std::string /*text*/)
{
    co_return false;
}

std::shared_ptr<InputSink> makePortalInput(
    Executor agent, Executor workers, Clock& clock, BusConnection& bus, PortalInput::Doors const& doors)
{
    std::shared_ptr<Making const> const making(
        new Making{std::move(agent), std::move(workers), clock, bus, doors});
    auto const calls = [making]() -> std::shared_ptr<InputSink> {
        return std::make_shared<PortalInput>(making->agent, making->workers, making->clock, making->bus,
                                             making->doors);
    };
    PortalInputs::Doors inputs{.granted = [making] { return granted(making); }, .makeCalls = calls};
    return std::make_shared<PortalInputs>(std::move(inputs));
}

} // namespace zelvo
