#include "drivers/InputAction.h"

#include "wire/AgentError.h"

#include <map>

namespace zelvo {

namespace {

template <class T>
T required(std::optional<T> value)
{
    if (!value)
        throw AgentError::invalidRequest;
    return *std::move(value);
}

DesktopPoint point(json::object const& entry)
{
    return {required(read::number(entry, "x")), required(read::number(entry, "y"))};
}

DesktopPoint pointUnder(json::object const& entry, std::string_view key)
{
    json::object const* const inner = read::object(entry, key);
    if (!inner)
        throw AgentError::invalidRequest;
    return point(*inner);
}

std::string text(json::object const& entry, std::string_view key)
{
    return required(read::text(entry, key));
}

MouseButton buttonOf(json::object const& entry)
{
    return fromRawValue<MouseButton>(read::text(entry, "button").value_or("left"))
        .value_or(MouseButton::left);
}

std::vector<Modifier> modifiersOf(json::object const& entry)
{
    std::vector<Modifier> modifiers;
    if (json::array const* const names = read::array(entry, "modifiers"))
        for (json::value const& name : *names)
            if (name.is_string())
                if (auto const modifier = fromRawValue<Modifier>(name.get_string()))
                    modifiers.push_back(*modifier);
    return modifiers;
}

std::vector<std::string> keysOf(json::object const& entry)
{
    json::array const* const names = read::array(entry, "keys");
    if (!names || names->empty())
        throw AgentError::invalidRequest;
    std::vector<std::string> keys;
    for (json::value const& name : *names) {
        if (!name.is_string())
            throw AgentError::invalidRequest;
        keys.emplace_back(name.get_string());
    }
    return keys;
}

using Reader = InputAction::Value (*)(json::object const&);

std::map<std::string, Reader, std::less<>> const& readers()
{
    using Entry = json::object const&;
    using A = InputAction;
    static std::map<std::string, Reader, std::less<>> const all = {
        {"move", [](Entry e) -> A::Value { return A::Move{point(e)}; }},
        {"click",
         [](Entry e) -> A::Value {
             return A::Click{point(e), buttonOf(e), read::integer(e, "count").value_or(1), modifiersOf(e)};
         }},
        {"mouse_down", [](Entry e) -> A::Value { return A::MouseDown{point(e), buttonOf(e)}; }},
        {"mouse_up", [](Entry e) -> A::Value { return A::MouseUp{point(e), buttonOf(e)}; }},
        {"drag",
         [](Entry e) -> A::Value {
             return A::Drag{pointUnder(e, "from"), pointUnder(e, "to"), buttonOf(e),
                            read::integer(e, "durationMs").value_or(300)};
         }},
        {"scroll",
         [](Entry e) -> A::Value {
             return A::Scroll{point(e), read::number(e, "dx").value_or(0), read::number(e, "dy").value_or(0)};
         }},
        {"type", [](Entry e) -> A::Value { return A::Type{text(e, "text")}; }},
        {"key", [](Entry e) -> A::Value { return A::Key{keysOf(e)}; }},
        {"wait", [](Entry e) -> A::Value { return A::Wait{read::integer(e, "ms").value_or(0)}; }},
        {"click_element",
         [](Entry e) -> A::Value { return A::ClickElement{text(e, "snapshotId"), text(e, "elementId")}; }},
        {"set_value",
         [](Entry e) -> A::Value {
             return A::SetValue{text(e, "snapshotId"), text(e, "elementId"), text(e, "text")};
         }},
    };
    return all;
}

} // namespace

InputAction InputAction::parse(json::object const& entry)
{
    auto const reader = readers().find(required(read::text(entry, "type")));
    if (reader == readers().end())
        throw AgentError::invalidRequest;
    return {reader->second(entry)};
}

std::optional<DesktopPoint> InputAction::targetPoint() const
{
    return std::visit(
        [](auto const& action) -> std::optional<DesktopPoint> {
            if constexpr (requires { action.point; })
                return action.point;
            else if constexpr (requires { action.from; })
                return action.from;
            else
                return std::nullopt;
        },
        value);
}

bool InputAction::isTextInput() const
{
    return std::holds_alternative<Type>(value) || std::holds_alternative<Key>(value) ||
           std::holds_alternative<SetValue>(value);
}

} // namespace zelvo
