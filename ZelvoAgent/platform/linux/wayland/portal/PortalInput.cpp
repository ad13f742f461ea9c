#include "platform/linux/wayland/portal/PortalInput.h"

#include "base/Hop.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <cmath>
#include <ranges>

namespace zelvo {

namespace {

constexpr char const* keyMember = "NotifyKeyboardKeycode";
constexpr char const* buttonMember = "NotifyPointerButton";
constexpr int looks = 5;
constexpr Duration lookPause = 10ms;

PortalRequest::Append switched(int code, bool isDown)
{
    return [code, isDown](sd_bus_message* message) {
        sd_bus_message_append(message, "iu", code, static_cast<unsigned>(isDown));
    };
}

bool isThere(LogicalPoint one, LogicalPoint other)
{
    return std::abs(one.x - other.x) <= 1 && std::abs(one.y - other.y) <= 1;
}

} // namespace

PortalInput::PortalInput(Executor agent, Executor workers, Clock& clock, BusConnection& bus, Doors doors)
    : agent(std::move(agent)), workers(std::move(workers)), clock(clock), doors(std::move(doors)),
      barrier(bus)
{
}

PortalInput::~PortalInput()
{
    if (!current || held.empty())
        return;
    spawn(agent, [session = std::move(current), down = std::move(held)]() -> Task<> {
        for (Held const& one : std::views::reverse(down))
            co_await session->call(one.member, switched(one.code, false));
    });
}

bool PortalInput::isReady() const
{
    auto const session = doors.session();
    return session && session->isOpen() && session->hasInput();
}

/// Takes up a new session.
Task<bool> PortalInput::prepare()
{
    auto session = doors.session();
    if (session != current) {
        current = std::move(session);
        held.clear(); // The compositor released it with the old session.
        isKeyboardWarm = false;
        isPointerWarm = false;
        lastNode = 0;
    }
    co_return current && current->isOpen() && current->hasInput();
}

Task<bool> PortalInput::post(char const* member, PortalRequest::Append arguments)
{
    auto const kept = current;
    co_return co_await kept->call(member, std::move(arguments));
}

Task<bool> PortalInput::moveTo(LogicalPoint point)
{
    if (!co_await prepare())
        co_return false;
    auto const place = streamPointAt(matchStreams(current->streams(), doors.layout()), point);
    if (!place || (!place->place.isCertain && !doors.pointer) || !co_await enterStream(place->place) ||
        !co_await moveInStream(*place))
        co_return false;
    if (!std::exchange(isPointerWarm, true)) {
        co_await clock.sleep(warmUp);
        if (!co_await moveInStream(*place))
            co_return false;
    }
    co_return place->place.isCertain || co_await correct(point);
}

/// Brings the pointer to another monitor. GNOME has a barrier at the end of its panel, which stops a pointer
/// that crosses it at the edge of the monitor; from the middle of that edge a second move passes.
Task<bool> PortalInput::enterStream(StreamPlace place)
{
    bool const isThere = std::exchange(lastNode, place.node) == place.node;
    StreamPoint const middle{.place = place, .x = place.width / 2, .y = place.height / 2};
    if (isThere || current->streams().size() < 2)
        co_return true;
    co_return co_await moveInStream(middle) && co_await moveInStream(middle);
}

Task<bool> PortalInput::moveInStream(StreamPoint place)
{
    // The front end refuses places outside of the stream.
    double const x = std::clamp(place.x, 0.0, place.place.width - 1);
    double const y = std::clamp(place.y, 0.0, place.place.height - 1);
    return post("NotifyPointerMotionAbsolute", [node = place.place.node, x, y](sd_bus_message* message) {
        sd_bus_message_append(message, "udd", node, x, y);
    });
}

/// Moves the pointer the rest of the way. False if it does not get there.
Task<bool> PortalInput::correct(LogicalPoint target)
{
    auto const found = co_await look();
    if (!found || isThere(*found, target))
        co_return found.has_value();
    double const x = target.x - found->x;
    double const y = target.y - found->y;
    auto const arguments = [x, y](sd_bus_message* message) { sd_bus_message_append(message, "dd", x, y); };
    if (!co_await post("NotifyPointerMotion", arguments))
        co_return false;
    for (int count = 0; count < looks; ++count) {
        auto const now = co_await look();
        if (now && isThere(*now, target))
            co_return true;
        co_await clock.sleep(lookPause);
    }
    co_return false;
}

Task<std::optional<LogicalPoint>> PortalInput::look()
{
    co_await barrier.pass();
    auto const ask = [this] { return doors.pointer(); };
    co_return co_await on(workers, ask);
}

Task<bool> PortalInput::press(char const* member, int code, bool isDown)
{
    if (!co_await prepare())
        co_return false;
    Held const what{member, code};
    std::erase(held, what);
    if (isDown)
        held.push_back(what);
    co_return co_await post(member, switched(code, isDown));
}

Task<bool> PortalInput::button(int button, bool isDown)
{
    return press(buttonMember, button, isDown);
}

Task<bool> PortalInput::key(int key, bool isDown)
{
    if (!co_await prepare())
        co_return false;
    if (!std::exchange(isKeyboardWarm, true)) {
        // A key without a meaning, so that nothing happens where it arrives.
        for (bool const down : {true, false})
            if (!co_await post(keyMember, switched(KEY_UNKNOWN, down)))
                co_return false;
        co_await clock.sleep(warmUp);
    }
    co_return co_await press(keyMember, key, isDown);
}

/// By discrete steps, which are exact: by NotifyPointerAxis one desktop turns the wheel the other way round.
Task<bool> PortalInput::scroll(int clicksDown, int clicksRight)
{
    if (!co_await prepare())
        co_return false;
    constexpr unsigned vertical = 0;
    constexpr unsigned horizontal = 1;
    for (auto const [axis, clicks] : {std::pair(vertical, clicksDown), std::pair(horizontal, clicksRight)}) {
        auto const arguments = [axis, clicks](sd_bus_message* message) {
            sd_bus_message_append(message, "ui", axis, clicks);
        };
        if (clicks != 0 && !co_await post("NotifyPointerAxisDiscrete", arguments))
            co_return false;
    }
    co_return true;
}

Task<> PortalInput::drained()
{
    co_await barrier.pass();
}

Task<bool> PortalInput::type(std::string /*text*/)
{
    co_return false;
}

} // namespace zelvo
