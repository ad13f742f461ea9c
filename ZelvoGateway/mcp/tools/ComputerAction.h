#pragma once

#include "ZelvoGateway/mcp/ToolFailure.h"
#include "ZelvoGateway/mcp/tools/ActionRequest.h"
#include "wire/records/Heartbeat.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// What one action of the tool "computer" means. Exactly one of the members is used.
struct ComputerStep {
    std::vector<ActionRequest> actions = {}; ///< to carry out, in this order
    std::optional<std::string> url = {};     ///< to open
    std::optional<SeenFrame> zoom = {};      ///< the part to show, in pixels of the picture
    std::int64_t waitMs = 0;                 ///< to wait for the screen
    bool asksForCursor = false;
    bool operator==(ComputerStep const&) const = default;
};

/// What a translation depends on.
struct ComputerScreen {
    DisplaySize picture = {.width = 1440, .height = 900}; ///< in pixels, of the last one
    double scale = 1;                                     ///< pixels per point
    records::MachineOS os = records::MachineOS::linux;
};

/// Translates an action of one of the three vocabularies that models are trained on; its name decides which.
/// Throws ToolFailure for what is unknown, incomplete, or cannot be done.
ComputerStep computerStep(json::object const& action, ComputerScreen const& screen);

/// The actions that both vocabularies of pixels have, and those of the vocabulary that counts to 1000 in both
/// directions; null for a name that is in none.
using ComputerTranslation = ComputerStep (*)(json::object const& action, ComputerScreen const& screen);
ComputerTranslation pixelTranslation(std::string_view name);
ComputerTranslation gridTranslation(std::string_view name);

/// Helpers of the translations.
namespace computeraction {

/// "invalid_request: key needs text".
ToolFailure refusal(std::string what, std::string next = "correct the arguments and call again");
/// A text that is not empty. Throws ToolFailure.
std::string neededText(json::object const& action, std::string_view key);
ComputerStep only(ActionRequest action);
/// A chord. Throws ToolFailure.
ActionRequest chord(std::string_view keys, records::MachineOS os);
/// Points for one notch of a wheel.
constexpr double notch = 53;

} // namespace computeraction

} // namespace zelvo::service
