#include "ZelvoGateway/mcp/tools/ActionRequest.h"

#include "ZelvoGateway/mcp/ToolFailure.h"
#include "wire/EnumText.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zelvo::service {

namespace {

constexpr std::array<std::pair<std::string_view, ActionKind>, 10> kinds{
    {{"click", ActionKind::click},
     {"move", ActionKind::move},
     {"drag", ActionKind::drag},
     {"scroll", ActionKind::scroll},
     {"type", ActionKind::type},
     {"key", ActionKind::key},
     {"set_value", ActionKind::setValue},
     {"mouse_down", ActionKind::mouseDown},
     {"mouse_up", ActionKind::mouseUp},
     {"wait", ActionKind::wait}}};

ToolFailure refusal(std::size_t index, std::string_view what)
{
    return {.code = ErrorCode::invalidRequest,
            .what = "actions[" + std::to_string(index) + "] " + std::string(what),
            .actionsDone = 0};
}

std::optional<ScreenPoint> pointOf(json::object const& action, std::string_view x, std::string_view y)
{
    auto const left = read::number(action, x);
    auto const top = read::number(action, y);
    if (!left || !top)
        return std::nullopt;
    return ScreenPoint{.x = *left, .y = *top};
}

std::vector<std::string> textsOf(json::object const& action, std::string_view key)
{
    std::vector<std::string> texts;
    if (json::array const* const list = read::array(action, key))
        for (json::value const& item : *list)
            if (item.is_string())
                texts.emplace_back(item.get_string());
    return texts;
}

/// A reference with or without its brackets.
std::optional<std::string> referenceOf(json::object const& action)
{
    auto reference = read::text(action, "ref");
    if (reference && reference->starts_with('[') && reference->ends_with(']') && reference->size() > 2)
        reference = reference->substr(1, reference->size() - 2);
    return reference;
}

bool needsPlace(ActionKind kind)
{
    using enum ActionKind;
    return kind == click || kind == move || kind == drag || kind == mouseDown || kind == mouseUp;
}

void assertComplete(ActionRequest const& action, json::object const& given, std::size_t index)
{
    if (action.reference && action.at)
        throw refusal(index, "has ref and x, y; give one of the two");
    if (needsPlace(action.kind) && !action.reference && !action.at)
        throw refusal(index, "needs ref, or x and y");
    if (action.kind == ActionKind::drag && !action.to)
        throw refusal(index, "needs toX and toY");
    if (action.kind == ActionKind::setValue && !action.reference)
        throw refusal(index, "needs ref; to type at a place, click there first");
    bool const needsText = action.kind == ActionKind::type || action.kind == ActionKind::setValue;
    if (needsText && !given.contains("text"))
        throw refusal(index, "needs text");
    if (action.kind == ActionKind::key && action.keys.empty())
        throw refusal(index, "needs keys");
}

ActionRequest actionRequest(json::object const& given, std::size_t index)
{
    auto const type = read::text(given, "type").value_or("");
    auto const* const kind = std::ranges::find(kinds, type, [](auto const& row) { return row.first; });
    if (kind == kinds.end())
        throw refusal(index, "has an unknown type");
    ActionRequest action{.kind = kind->second,
                         .reference = referenceOf(given),
                         .at = pointOf(given, "x", "y"),
                         .to = pointOf(given, "toX", "toY"),
                         .button = read::text(given, "button").value_or("left"),
                         .count = read::integer(given, "count").value_or(1),
                         .modifiers = textsOf(given, "modifiers"),
                         .dx = read::number(given, "dx").value_or(0),
                         .dy = read::number(given, "dy").value_or(0),
                         .text = read::text(given, "text").value_or(""),
                         .keys = textsOf(given, "keys"),
                         .ms = read::integer(given, "ms").value_or(0)};
    assertComplete(action, given, index);
    return action;
}

} // namespace

std::vector<ActionRequest> actionRequests(json::array const& actions)
{
    std::vector<ActionRequest> requests;
    for (json::value const& action : actions) {
        if (!action.is_object())
            throw refusal(requests.size(), "must be an object");
        requests.push_back(actionRequest(action.get_object(), requests.size()));
    }
    assertButtonsReleased(requests);
    return requests;
}

void assertButtonsReleased(std::vector<ActionRequest> const& actions)
{
    std::vector<std::pair<std::string, std::size_t>> held;
    for (std::size_t i = 0; i < actions.size(); ++i) {
        ActionRequest const& action = actions[i];
        if (action.kind == ActionKind::mouseDown)
            held.emplace_back(action.button, i);
        if (action.kind == ActionKind::mouseUp &&
            std::erase_if(held, [&](auto const& one) { return one.first == action.button; }) == 0)
            throw refusal(i, "releases a button that these actions do not press; use drag, or press and "
                             "release in one call");
    }
    if (!held.empty())
        throw refusal(held.front().second, "presses a button that these actions do not release; use drag, or "
                                           "press and release in one call");
}

} // namespace zelvo::service
