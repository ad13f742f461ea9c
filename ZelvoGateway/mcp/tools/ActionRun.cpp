#include "ZelvoGateway/mcp/tools/ActionRun.h"

#include "ZelvoGateway/base/Failure.h"
#include "base/Text.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace zelvo::service {

namespace {

constexpr int maxSearches = 2; // for one action, while the screen changes

json::object at(std::string_view type, ScreenPoint point)
{
    return {{"type", type}, {"x", plainNumber(point.x)}, {"y", plainNumber(point.y)}};
}

json::object pointJson(ScreenPoint point)
{
    return {{"x", plainNumber(point.x)}, {"y", plainNumber(point.y)}};
}

json::array list(std::vector<std::string> const& texts)
{
    json::array array;
    for (std::string const& text : texts)
        array.emplace_back(text);
    return array;
}

json::array only(json::object action)
{
    json::array actions;
    actions.emplace_back(std::move(action));
    return actions;
}

json::object onElementOf(std::string_view type, FoundElement const& found)
{
    return {{"type", type}, {"snapshotId", found.snapshot}, {"elementId", found.element.id}};
}

ScreenPoint centreOf(SeenFrame const& frame)
{
    return {.x = static_cast<double>(frame.x) + static_cast<double>(frame.w) / 2,
            .y = static_cast<double>(frame.y) + static_cast<double>(frame.h) / 2};
}

/// The machine has an action for the element itself, which it checks.
bool isForElements(ActionRequest const& action)
{
    bool const isPlainClick = action.kind == ActionKind::click && action.button == "left" &&
                              action.count == 1 && action.modifiers.empty();
    return isPlainClick || action.kind == ActionKind::setValue || action.kind == ActionKind::type;
}

/// An action that needs no element, at a place in points.
json::object wireAction(ActionRequest const& action, ScreenPoint point, ScreenPoint end)
{
    switch (action.kind) {
    case ActionKind::click: {
        json::object click = at("click", point);
        click["button"] = action.button;
        click["count"] = action.count;
        if (!action.modifiers.empty())
            click["modifiers"] = list(action.modifiers);
        return click;
    }
    case ActionKind::move:
        return at("move", point);
    case ActionKind::drag:
        return {
            {"type", "drag"}, {"from", pointJson(point)}, {"to", pointJson(end)}, {"button", action.button}};
    case ActionKind::scroll: {
        json::object scroll = at("scroll", point);
        scroll["dx"] = plainNumber(action.dx);
        scroll["dy"] = plainNumber(action.dy);
        return scroll;
    }
    case ActionKind::mouseDown:
    case ActionKind::mouseUp: {
        json::object press = at(action.kind == ActionKind::mouseDown ? "mouse_down" : "mouse_up", point);
        press["button"] = action.button;
        return press;
    }
    case ActionKind::key:
        return {{"type", "key"}, {"keys", list(action.keys)}};
    case ActionKind::wait:
        return {{"type", "wait"}, {"ms", action.ms}};
    case ActionKind::type:
    case ActionKind::setValue:
        break;
    }
    return {{"type", "type"}, {"text", action.text}};
}

bool hasPlace(ActionKind kind)
{
    return kind != ActionKind::key && kind != ActionKind::wait && kind != ActionKind::type;
}

/// The machine may have carried out the command.
bool isUncertain(ErrorCode code)
{
    return code == ErrorCode::timeout || code == ErrorCode::internalError ||
           code == ErrorCode::machineOffline;
}

/// An application as the machine identifies it, if the model names the one that it saw.
std::string identified(std::string name, SeenMachine const& seen)
{
    auto const tree = seen.newest();
    if (tree && !name.empty() && text::equalIgnoringCase(tree->applicationName, name))
        return tree->application;
    return name;
}

} // namespace

ActionRun::ActionRun(MachineCallPtr call, std::vector<ActionRequest> actions, std::string expectedApp)
    : call(std::move(call)), actions(std::move(actions)),
      expected(identified(std::move(expectedApp), this->call->seen())), held(this->call)
{
}

Task<> ActionRun::run()
{
    for (std::size_t index = 0; index < actions.size(); ++index) {
        std::optional<ToolFailure> failed;
        try {
            co_await perform(index);
        } catch (ToolFailure const& failure) {
            failed = failure;
        } catch (Failure const& failure) {
            failed = toolFailure(failure);
        }
        if (failed) {
            failed->actionsDone = index;
            failed->isBegun = isBegun;
            std::ranges::move(co_await held.release(), std::back_inserter(failed->lines));
            throw *std::move(failed);
        }
    }
}

Task<> ActionRun::perform(std::size_t index)
{
    isBegun = false;
    Freshness freshness = Freshness::usual;
    for (int searches = 0;; ++searches) {
        try {
            co_await send(index, freshness);
            co_return;
        } catch (Failure const& failure) {
            bool const isLost =
                failure.code == ErrorCode::snapshotExpired && actions[index].reference && !isBegun;
            if (!isLost || searches == maxSearches)
                throw;
        }
        freshness = Freshness::now;
    }
}

Task<> ActionRun::send(std::size_t index, Freshness freshness)
{
    for (json::object& wire : co_await wireActions(index, freshness)) {
        co_await sendOne(index, std::move(wire));
        isBegun = true;
    }
}

Task<> ActionRun::sendOne(std::size_t index, json::object wire)
{
    ActionRequest const& action = actions[index];
    bool const isPress = action.kind == ActionKind::mouseDown && held.press(wire);
    json::object params;
    params.emplace("actions", only(std::move(wire)));
    if (!expected.empty())
        params["expectBundleId"] = expected;
    try {
        co_await call->run("actions.perform", std::move(params));
    } catch (Failure const& failure) {
        if (isPress && !isUncertain(failure.code))
            held.forget(action.button);
        throw;
    }
    if (action.kind == ActionKind::mouseUp)
        held.forget(action.button);
}

Task<std::vector<json::object>> ActionRun::wireActions(std::size_t index, Freshness freshness)
{
    ActionRequest action = actions[index];
    if (action.reference && isForElements(action))
        co_return co_await onElement(std::move(action), freshness);
    ScreenPoint place;
    if (hasPlace(action.kind))
        place = co_await placeOf(action);
    ScreenPoint const end = action.to ? pointsOf(*action.to) : ScreenPoint();
    co_return std::vector{wireAction(action, place, end)};
}

Task<std::vector<json::object>> ActionRun::onElement(ActionRequest action, Freshness freshness)
{
    FoundElement const found = co_await findElement(call, *action.reference, freshness);
    if (action.kind == ActionKind::setValue) {
        json::object set = onElementOf("set_value", found);
        set["text"] = action.text;
        co_return std::vector{std::move(set)};
    }
    std::vector<json::object> wire{onElementOf("click_element", found)};
    if (action.kind == ActionKind::type)
        wire.push_back(wireAction(action, {}, {}));
    co_return wire;
}

/// In points. An element's own place is read anew, because the machine does not check what is there.
Task<ScreenPoint> ActionRun::placeOf(ActionRequest action)
{
    if (action.reference) {
        FoundElement const found = co_await findElement(call, *action.reference, Freshness::now);
        if (found.element.frame.isRelative)
            throw ToolFailure{.code = ErrorCode::machineUnavailable,
                              .what =
                                  "This desktop does not say where windows are, so nothing can be pointed at",
                              .next = "click the element with the left button, or set its value"};
        co_return centreOf(found.element.frame);
    }
    if (action.at)
        co_return pointsOf(*action.at);
    if (action.isAtCursor)
        co_return co_await call->cursor();
    DisplaySize const display = (co_await call->displaySize()).value_or(DisplaySize());
    co_return centreOf({.w = display.width, .h = display.height});
}

ScreenPoint ActionRun::pointsOf(ScreenPoint shown) const
{
    ScreenSpace const& space = call->seen().space;
    ScreenPoint const points = space.toPoints(shown);
    if (!space.contains(points))
        throw ToolFailure{.code = ErrorCode::invalidRequest,
                          .what = "The coordinates are outside of the last picture or tree, which is " +
                                  sizeText(space.shownSize()),
                          .next = "use coordinates of that picture or tree, or a ref"};
    return points;
}

} // namespace zelvo::service
