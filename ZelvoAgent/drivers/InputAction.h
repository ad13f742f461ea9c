#pragma once

#include "base/Geometry.h"
#include "platform/EventPosting.h"
#include "wire/EnumText.h"
#include "wire/Json.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace zelvo {

template <>
struct EnumTexts<MouseButton> {
    static constexpr std::array<std::string_view, 3> texts = {"left", "right", "middle"};
};

enum class Modifier { cmd, shift, alt, ctrl, fn };

template <>
struct EnumTexts<Modifier> {
    static constexpr std::array<std::string_view, 5> texts = {"cmd", "shift", "alt", "ctrl", "fn"};
};

/// One parsed entry of "actions.perform". Coordinates are points. Numbers are not limited here; whoever
/// carries the action out must handle a negative wait or a huge count.
struct InputAction {
    struct Move {
        DesktopPoint point;
        bool operator==(Move const&) const = default;
    };
    struct Click {
        DesktopPoint point;
        MouseButton button = MouseButton::left;
        std::int64_t count = 1;
        std::vector<Modifier> modifiers;
        bool operator==(Click const&) const = default;
    };
    struct MouseDown {
        DesktopPoint point;
        MouseButton button = MouseButton::left;
        bool operator==(MouseDown const&) const = default;
    };
    struct MouseUp {
        DesktopPoint point;
        MouseButton button = MouseButton::left;
        bool operator==(MouseUp const&) const = default;
    };
    struct Drag {
        DesktopPoint from;
        DesktopPoint to;
        MouseButton button = MouseButton::left;
        std::int64_t durationMs = 300;
        bool operator==(Drag const&) const = default;
    };
    struct Scroll {
        DesktopPoint point;
        double dx = 0;
        double dy = 0;
        bool operator==(Scroll const&) const = default;
    };
    struct Type {
        std::string text;
        bool operator==(Type const&) const = default;
    };
    struct Key {
        std::vector<std::string> keys;
        bool operator==(Key const&) const = default;
    };
    struct Wait {
        std::int64_t ms = 0;
        bool operator==(Wait const&) const = default;
    };
    struct ClickElement {
        std::string snapshotId;
        std::string elementId;
        bool operator==(ClickElement const&) const = default;
    };
    struct SetValue {
        std::string snapshotId;
        std::string elementId;
        std::string text;
        bool operator==(SetValue const&) const = default;
    };

    using Value =
        std::variant<Move, Click, MouseDown, MouseUp, Drag, Scroll, Type, Key, Wait, ClickElement, SetValue>;
    Value value;
    bool operator==(InputAction const&) const = default;

    /// Parses one entry. Throws AgentError::invalidRequest if "type" is missing or unknown, or if a required
    /// member is missing or has the wrong type. An optional member of the wrong type gets its default.
    static InputAction parse(json::object const& entry);

    /// The action's point; for a drag its start. `nullopt` for actions without a point.
    std::optional<DesktopPoint> targetPoint() const;
    /// True for actions on the focused element: type, key and setValue.
    bool isTextInput() const;
};

} // namespace zelvo
