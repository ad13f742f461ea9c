#include "ZelvoGateway/mcp/tools/ComputerAction.h"
#include "ZelvoGateway/mcp/tools/KeyNames.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

// The two vocabularies with pixels of the picture. They share names but not arguments: one has coordinate,
// scroll_direction and text, the other x, y, scroll_x, scroll_y and keys.

namespace zelvo::service {

namespace {

using namespace computeraction;

constexpr std::int64_t maxWaitMs = 5'000;
constexpr std::int64_t usualWaitMs = 1'000;
constexpr double usualNotches = 3;
constexpr double maxNotches = 100;
constexpr std::size_t maxChords = 20; // of one action

std::optional<ScreenPoint> pointIn(json::value const& value)
{
    if (json::object const* const object = value.if_object()) {
        auto const x = read::number(*object, "x");
        auto const y = read::number(*object, "y");
        return x && y ? std::optional(ScreenPoint{.x = *x, .y = *y}) : std::nullopt;
    }
    json::array const* const list = value.if_array();
    if (!list || list->size() != 2 || !(*list)[0].is_number() || !(*list)[1].is_number())
        return std::nullopt;
    return ScreenPoint{.x = (*list)[0].to_number<double>(), .y = (*list)[1].to_number<double>()};
}

/// Of `key`, or x and y; `nullopt` if neither is there. Throws ToolFailure if it is malformed.
std::optional<ScreenPoint> placeIn(json::object const& action, std::string_view key = "coordinate")
{
    if (json::value const* const list = action.if_contains(key); list && !list->is_null()) {
        auto const point = pointIn(*list);
        if (!point)
            throw refusal("The action needs " + std::string(key) + " as [x, y]");
        return point;
    }
    return pointIn(action);
}

/// At a place, or else where the pointer is.
ActionRequest at(ActionKind kind, std::optional<ScreenPoint> place)
{
    return {.kind = kind, .at = place, .isAtCursor = !place};
}

std::vector<std::string> heldKeys(json::object const& action, records::MachineOS os)
{
    std::vector<std::string> names;
    if (json::array const* const keys = read::array(action, "keys"))
        for (json::value const& key : *keys)
            if (key.is_string())
                names.emplace_back(key.get_string());
    if (auto const text = read::text(action, "text"))
        names = chordParts(*text);
    return modifierKeys(names, os);
}

ComputerStep
click(json::object const& action, ComputerScreen const& screen, std::string button, std::int64_t count)
{
    ActionRequest request = at(ActionKind::click, placeIn(action));
    request.button = std::move(button);
    request.count = count;
    request.modifiers = heldKeys(action, screen.os);
    return only(std::move(request));
}

ComputerStep leftClick(json::object const& action, ComputerScreen const& screen)
{
    return click(action, screen, "left", 1);
}
ComputerStep rightClick(json::object const& action, ComputerScreen const& screen)
{
    return click(action, screen, "right", 1);
}
ComputerStep middleClick(json::object const& action, ComputerScreen const& screen)
{
    return click(action, screen, "middle", 1);
}
ComputerStep doubleClick(json::object const& action, ComputerScreen const& screen)
{
    return click(action, screen, "left", 2);
}
ComputerStep tripleClick(json::object const& action, ComputerScreen const& screen)
{
    return click(action, screen, "left", 3);
}

ComputerStep clickWithButton(json::object const& action, ComputerScreen const& screen)
{
    std::string const button = read::text(action, "button").value_or("left");
    if (button == "wheel" || button == "middle")
        return middleClick(action, screen);
    if (button != "left" && button != "right")
        throw refusal("The computer has no way to press the button " + button);
    return click(action, screen, button, 1);
}

ComputerStep move(json::object const& action, ComputerScreen const&)
{
    auto const place = placeIn(action);
    if (!place)
        throw refusal("The action needs a place");
    return only(at(ActionKind::move, place));
}

ComputerStep drag(std::optional<ScreenPoint> from, ScreenPoint to)
{
    ActionRequest request = at(ActionKind::drag, from);
    request.to = to;
    return only(std::move(request));
}

ComputerStep dragToCoordinate(json::object const& action, ComputerScreen const&)
{
    auto const to = placeIn(action);
    if (!to)
        throw refusal("The action needs coordinate");
    json::object const start{
        {"start", action.contains("start_coordinate") ? action.at("start_coordinate") : json::value()}};
    return drag(placeIn(start, "start"), *to);
}

ComputerStep dragAlongPath(json::object const& action, ComputerScreen const&)
{
    json::array const* const path = read::array(action, "path");
    if (!path || path->size() < 2)
        throw refusal("The action needs path with two points");
    if (path->size() > 2)
        throw refusal("The computer drags straight from one point to another; the path has " +
                          std::to_string(path->size()) + " points",
                      "give the first and the last point alone, if that does it");
    auto const from = pointIn((*path)[0]);
    auto const to = pointIn((*path)[1]);
    if (!from || !to)
        throw refusal("The points of path need x and y");
    return drag(from, *to);
}

/// Points that a wheel turns: up and left are positive.
ScreenPoint turned(std::string_view direction, double notches)
{
    double const distance = std::clamp(notches, 0.0, maxNotches) * notch;
    if (direction == "up")
        return {.y = distance};
    if (direction == "down")
        return {.y = -distance};
    if (direction == "left")
        return {.x = distance};
    if (direction == "right")
        return {.x = -distance};
    throw refusal("scroll_direction must be up, down, left or right");
}

/// Some clients send every member, so null and an empty text or list mean nothing.
bool isGiven(json::object const& action, std::string_view key)
{
    json::value const* const value = action.if_contains(key);
    if (!value || value->is_null())
        return false;
    bool const isEmptyText = value->is_string() && value->get_string().empty();
    return !isEmptyText && !(value->is_array() && value->get_array().empty());
}

ComputerStep scroll(json::object const& action, ComputerScreen const& screen)
{
    if (isGiven(action, "text") || isGiven(action, "keys"))
        throw refusal("The computer has no way to hold keys while it scrolls");
    ActionRequest request = at(ActionKind::scroll, placeIn(action));
    ScreenPoint distance;
    if (auto const direction = read::text(action, "scroll_direction")) {
        distance = turned(*direction, read::number(action, "scroll_amount").value_or(usualNotches));
    } else { // Pixels that the page moves; down and right are positive.
        auto const x = read::number(action, "scroll_x");
        auto const y = read::number(action, "scroll_y");
        if (!x && !y)
            throw refusal("The action needs scroll_direction, or scroll_x and scroll_y");
        distance = {.x = -x.value_or(0) / screen.scale, .y = -y.value_or(0) / screen.scale};
    }
    request.dx = distance.x;
    request.dy = distance.y;
    return only(std::move(request));
}

/// Chords one after the other, as in "ctrl+a Delete".
ComputerStep key(json::object const& action, ComputerScreen const& screen)
{
    std::string const text = neededText(action, "text");
    ComputerStep step;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t const end = std::min(text.find(' ', start), text.size());
        if (end > start && step.actions.size() == maxChords)
            throw refusal("The text has more than " + std::to_string(maxChords) + " chords",
                          "use type for a text, or several actions");
        if (end > start)
            step.actions.push_back(chord(std::string_view(text).substr(start, end - start), screen.os));
        start = end + 1;
    }
    if (step.actions.empty()) // The space bar itself.
        step.actions.push_back(chord("space", screen.os));
    return step;
}

ComputerStep keypress(json::object const& action, ComputerScreen const& screen)
{
    json::array const* const keys = read::array(action, "keys");
    std::vector<std::string> names;
    for (json::value const& name : keys ? *keys : json::array())
        if (name.is_string())
            names.emplace_back(name.get_string());
    if (names.empty())
        throw refusal("The action needs keys");
    return only({.kind = ActionKind::key, .keys = chordKeys(names, screen.os)});
}

ComputerStep type(json::object const& action, ComputerScreen const&)
{
    return only({.kind = ActionKind::type, .text = neededText(action, "text")});
}

ComputerStep wait(json::object const& action, ComputerScreen const&)
{
    double const ms = read::number(action, "duration").value_or(usualWaitMs / 1000.0) * 1000;
    return {.waitMs = std::clamp<std::int64_t>(std::llround(std::clamp(ms, 0.0, 1e9)), 0, maxWaitMs)};
}

ComputerStep screenshot(json::object const&, ComputerScreen const&)
{
    return {};
}

ComputerStep cursorPosition(json::object const&, ComputerScreen const&)
{
    return {.asksForCursor = true};
}

ComputerStep zoom(json::object const& action, ComputerScreen const&)
{
    json::array const* const region = read::array(action, "region");
    auto const side = [&](std::size_t index) -> std::int64_t {
        if (!region || region->size() != 4 || !(*region)[index].is_number())
            throw refusal("The action needs region as [x0, y0, x1, y1]");
        return std::llround(std::clamp((*region)[index].to_number<double>(), -1e9, 1e9));
    };
    SeenFrame const part{.x = side(0), .y = side(1), .w = side(2) - side(0), .h = side(3) - side(1)};
    if (part.w < 1 || part.h < 1)
        throw refusal("region is empty");
    return {.zoom = part};
}

ComputerStep refuseHalfPress(json::object const&, ComputerScreen const&)
{
    throw refusal("The computer does not hold a button from one call to the next", "use left_click_drag");
}

ComputerStep refuseHeldKey(json::object const&, ComputerScreen const&)
{
    throw refusal("The computer has no way to hold a key", "press it with key, several times if necessary");
}

constexpr std::array<std::pair<std::string_view, ComputerTranslation>, 22> translations{
    {{"left_click", leftClick},
     {"right_click", rightClick},
     {"middle_click", middleClick},
     {"double_click", doubleClick},
     {"triple_click", tripleClick},
     {"click", clickWithButton},
     {"mouse_move", move},
     {"move", move},
     {"left_mouse_down", refuseHalfPress},
     {"left_mouse_up", refuseHalfPress},
     {"left_click_drag", dragToCoordinate},
     {"drag", dragAlongPath},
     {"scroll", scroll},
     {"key", key},
     {"keypress", keypress},
     {"hold_key", refuseHeldKey},
     {"type", type},
     {"wait", wait},
     {"screenshot", screenshot},
     {"cursor_position", cursorPosition},
     {"zoom", zoom},
     {"mouse_position", cursorPosition}}};

} // namespace

ComputerTranslation pixelTranslation(std::string_view name)
{
    auto const* const found =
        std::ranges::find(translations, name, [](auto const& row) { return row.first; });
    return found == translations.end() ? nullptr : found->second;
}

} // namespace zelvo::service
