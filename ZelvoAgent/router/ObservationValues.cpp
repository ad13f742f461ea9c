#include "router/ObservationValues.h"

#include "wire/AgentError.h"

#include <algorithm>
#include <chrono>

namespace zelvo {

namespace {

/// Nothing has an empty role, and every name contains an empty one.
std::optional<std::string> wordsIn(json::object const& params, char const* key)
{
    auto words = read::text(params, key);
    if (words && words->empty())
        words.reset();
    return words;
}

/// A text that is waited for is a value that the element has when it is found.
WantedElement::Until until(json::object const& params)
{
    using enum WantedElement::Until;
    auto const name = read::text(params, "until").value_or("appears");
    if (name == "appears" || (name == "value" && read::text(params, "value")))
        return appears;
    if (name == "disappears")
        return disappears;
    if (name == "enabled")
        return enabled;
    if (name == "focused")
        return focused;
    throw AgentError::invalidRequest;
}

} // namespace

std::optional<DesktopRect> regionIn(json::object const& params)
{
    json::object const* const region = read::object(params, "region");
    if (!region)
        return std::nullopt;
    auto const side = [&](char const* key) {
        auto const value = read::number(*region, key);
        if (!value)
            throw AgentError::invalidRequest;
        return *value;
    };
    return DesktopRect{.x = side("x"), .y = side("y"), .width = side("w"), .height = side("h")};
}

Duration milliseconds(json::object const& params, char const* key, std::int64_t otherwise, std::int64_t max)
{
    std::int64_t const value = read::integer(params, key).value_or(otherwise);
    return std::chrono::milliseconds(std::clamp<std::int64_t>(value, 0, max));
}

Duration waitTimeout(json::object const& params)
{
    return milliseconds(params, "timeoutMs", 3'000, 30'000);
}

TreeScope treeScope(json::object const& params)
{
    auto const name = read::text(params, "scope").value_or("frontmost");
    if (name == "all_windows")
        return TreeScope::allWindows;
    if (name == "menu_bar")
        return TreeScope::menuBar;
    return TreeScope::frontmost;
}

WantedElement wantedElement(json::object const& params)
{
    WantedElement wanted{.role = wordsIn(params, "role"),
                         .name = wordsIn(params, "name"),
                         .value = read::text(params, "value"),
                         .until = until(params)};
    if (!wanted.role && !wanted.name && !wanted.value)
        throw AgentError::invalidRequest;
    return wanted;
}

records::UIElement elementRecord(UiElementInfo const& element)
{
    UiElementInfo::Frame const& frame = element.frame;
    return {.actions = element.actions,
            .description = element.elementDescription,
            .enabled = element.enabled,
            .focused = element.focused,
            .frame = {.x = frame.x, .y = frame.y, .w = frame.w, .h = frame.h},
            .id = element.id,
            .identifier = element.identifier,
            .role = element.role,
            .subrole = element.subrole,
            .title = element.title,
            .value = element.value};
}

} // namespace zelvo
