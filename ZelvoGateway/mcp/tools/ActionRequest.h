#pragma once

#include "ZelvoGateway/mcp/tools/ScreenSpace.h"
#include "wire/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

enum class ActionKind { click, move, drag, scroll, type, key, setValue, mouseDown, mouseUp, wait };

/// An action as a model asks for it. Coordinates are those of the conversation's last answer.
struct ActionRequest {
    ActionKind kind = ActionKind::wait;
    std::optional<std::string> reference = {}; ///< of the element that it is for
    std::optional<ScreenPoint> at = {};
    bool isAtCursor = false;            ///< where the pointer is
    std::optional<ScreenPoint> to = {}; ///< of a drag
    std::string button = "left";
    std::int64_t count = 1; ///< of clicks
    std::vector<std::string> modifiers = {};
    double dx = 0; ///< of a scroll, in points; positive is left
    double dy = 0; ///< positive is up
    std::string text = {};
    std::vector<std::string> keys = {};
    std::int64_t ms = 0;
    bool operator==(ActionRequest const&) const = default;
};

/// The "actions" of a call. Throws ToolFailure, with nothing done, for those that cannot be carried out.
std::vector<ActionRequest> actionRequests(json::array const& actions);

/// Refuses a button that is pressed and not released by the same actions. Throws ToolFailure.
void assertButtonsReleased(std::vector<ActionRequest> const& actions);

} // namespace zelvo::service
