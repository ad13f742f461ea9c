#include "ZelvoGateway/mcp/tools/ComputerAction.h"

#include <algorithm>
#include <array>
#include <utility>

// The vocabulary whose coordinates count from 0 to 1000 in both directions, whatever the picture's size.

namespace zelvo::service {

namespace {

using namespace computeraction;

constexpr double gridSize = 1000;
constexpr double usualMagnitude = 800; // of a scroll, on the grid
constexpr std::int64_t longWaitMs = 5'000;

double across(double grid, std::int64_t pixels)
{
    return grid / gridSize * static_cast<double>(pixels);
}

ScreenPoint placeIn(json::object const& action,
                    ComputerScreen const& screen,
                    std::string_view xKey = "x",
                    std::string_view yKey = "y")
{
    auto const x = read::number(action, xKey);
    auto const y = read::number(action, yKey);
    if (!x || !y || *x < 0 || *y < 0 || *x > gridSize || *y > gridSize)
        throw refusal("The action needs " + std::string(xKey) + " and " + std::string(yKey) +
                      " from 0 to 1000");
    return {.x = across(*x, screen.picture.width), .y = across(*y, screen.picture.height)};
}

ActionRequest clickAt(ScreenPoint place)
{
    return {.kind = ActionKind::click, .at = place};
}

ComputerStep click(json::object const& action, ComputerScreen const& screen)
{
    return only(clickAt(placeIn(action, screen)));
}

ComputerStep hover(json::object const& action, ComputerScreen const& screen)
{
    return only({.kind = ActionKind::move, .at = placeIn(action, screen)});
}

/// Replaces what is in the field, and presses Return, unless the model says otherwise.
ComputerStep typeText(json::object const& action, ComputerScreen const& screen)
{
    std::string const text = neededText(action, "text");
    ComputerStep step = click(action, screen);
    if (read::boolean(action, "clear_before_typing").value_or(true))
        step.actions.push_back(chord(screen.os == records::MachineOS::macos ? "cmd+a" : "ctrl+a", screen.os));
    step.actions.push_back({.kind = ActionKind::type, .text = text});
    if (read::boolean(action, "press_enter").value_or(true))
        step.actions.push_back(chord("return", screen.os));
    return step;
}

ComputerStep keyCombination(json::object const& action, ComputerScreen const& screen)
{
    return only(chord(neededText(action, "keys"), screen.os));
}

/// In points; up and left are positive.
ActionRequest scrollAt(ScreenPoint place, json::object const& action, ComputerScreen const& screen)
{
    std::string const direction = neededText(action, "direction");
    double const magnitude =
        std::clamp(read::number(action, "magnitude").value_or(usualMagnitude), 0.0, gridSize);
    double const down = across(magnitude, screen.picture.height) / screen.scale;
    double const right = across(magnitude, screen.picture.width) / screen.scale;
    ActionRequest request{.kind = ActionKind::scroll, .at = place};
    if (direction == "up")
        request.dy = down;
    else if (direction == "down")
        request.dy = -down;
    else if (direction == "left")
        request.dx = right;
    else if (direction == "right")
        request.dx = -right;
    else
        throw refusal("direction must be up, down, left or right");
    return request;
}

ComputerStep scroll(json::object const& action, ComputerScreen const& screen)
{
    return only(scrollAt(placeIn(action, screen), action, screen));
}

ComputerStep scrollDocument(json::object const& action, ComputerScreen const& screen)
{
    ScreenPoint const middle{.x = across(gridSize / 2, screen.picture.width),
                             .y = across(gridSize / 2, screen.picture.height)};
    return only(scrollAt(middle, action, screen));
}

ComputerStep dragAndDrop(json::object const& action, ComputerScreen const& screen)
{
    return only({.kind = ActionKind::drag,
                 .at = placeIn(action, screen),
                 .to = placeIn(action, screen, "destination_x", "destination_y")});
}

ComputerStep navigate(json::object const& action, ComputerScreen const&)
{
    return {.url = neededText(action, "url")};
}

ComputerStep goBack(json::object const&, ComputerScreen const& screen)
{
    return only(chord(screen.os == records::MachineOS::macos ? "cmd+[" : "alt+left", screen.os));
}

ComputerStep goForward(json::object const&, ComputerScreen const& screen)
{
    return only(chord(screen.os == records::MachineOS::macos ? "cmd+]" : "alt+right", screen.os));
}

ComputerStep waitLong(json::object const&, ComputerScreen const&)
{
    return {.waitMs = longWaitMs};
}

ComputerStep refuseBrowser(json::object const&, ComputerScreen const&)
{
    throw refusal("The computer does not know which browser is meant", "use app_open, or navigate with url");
}

constexpr std::array<std::pair<std::string_view, ComputerTranslation>, 13> translations{
    {{"click_at", click},
     {"hover_at", hover},
     {"type_text_at", typeText},
     {"key_combination", keyCombination},
     {"scroll_document", scrollDocument},
     {"scroll_at", scroll},
     {"drag_and_drop", dragAndDrop},
     {"navigate", navigate},
     {"go_back", goBack},
     {"go_forward", goForward},
     {"wait_5_seconds", waitLong},
     {"open_web_browser", refuseBrowser},
     {"search", refuseBrowser}}};

} // namespace

ComputerTranslation gridTranslation(std::string_view name)
{
    auto const* const found =
        std::ranges::find(translations, name, [](auto const& row) { return row.first; });
    return found == translations.end() ? nullptr : found->second;
}

} // namespace zelvo::service
