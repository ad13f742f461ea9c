#include "ZelvoGateway/mcp/tools/ComputerAction.h"

#include "ZelvoGateway/mcp/tools/KeyNames.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"

#include <utility>

namespace zelvo::service {

namespace computeraction {

ToolFailure refusal(std::string what, std::string next)
{
    return {.code = ErrorCode::invalidRequest, .what = std::move(what), .next = std::move(next)};
}

std::string neededText(json::object const& action, std::string_view key)
{
    auto text = read::text(action, key);
    if (!text || text->empty())
        throw refusal("The action needs " + std::string(key));
    return *std::move(text);
}

ComputerStep only(ActionRequest action)
{
    ComputerStep step;
    step.actions.push_back(std::move(action));
    return step;
}

ActionRequest chord(std::string_view keys, records::MachineOS os)
{
    return {.kind = ActionKind::key, .keys = chordKeys(keys, os)};
}

} // namespace computeraction

ComputerStep computerStep(json::object const& action, ComputerScreen const& screen)
{
    auto name = read::text(action, "action");
    if (!name)
        name = read::text(action, "type");
    if (!name)
        throw computeraction::refusal(R"("action" is missing)");
    ComputerTranslation translation = pixelTranslation(*name);
    if (!translation)
        translation = gridTranslation(*name);
    if (!translation)
        throw computeraction::refusal("The action " + writeJson(json::value(tooltext::shownName(*name))) +
                                          " is unknown",
                                      "use another action, or the other tools");
    return translation(action, screen);
}

} // namespace zelvo::service
