#include "ZelvoGateway/mcp/tools/Look.h"
#include "ZelvoGateway/mcp/tools/Settling.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"
#include "ZelvoGateway/mcp/tools/Tools.h"

#include <utility>

namespace zelvo::service {

namespace {

/// In points, from the coordinates of the last answer.
std::optional<SeenFrame> regionOf(json::object const& arguments, ScreenSpace const& space)
{
    json::object const* const region = read::object(arguments, "region");
    if (!region)
        return std::nullopt;
    auto const side = [&](std::string_view name) { return read::integer(*region, name).value_or(0); };
    SeenFrame const shown{.x = side("x"), .y = side("y"), .w = side("w"), .h = side("h")};
    SeenFrame const points = space.toPoints(shown);
    if (points.w < 1 || points.h < 1)
        throw ToolFailure{.code = ErrorCode::invalidRequest, .what = R"("region" is empty)"};
    return points;
}

LookRequest requestOf(json::object const& arguments, SeenMachine const& seen)
{
    LookRequest request;
    wantWhat(request, read::text(arguments, "what").value_or("tree"));
    request.view.scope = read::text(arguments, "scope").value_or(request.view.scope);
    request.view.isInteractiveOnly = read::boolean(arguments, "interactiveOnly").value_or(true);
    request.find = read::text(arguments, "find").value_or("");
    request.role = read::text(arguments, "role").value_or("");
    request.since = read::text(arguments, "since");
    request.region = regionOf(arguments, seen.space);
    request.maxLines = static_cast<std::size_t>(
        read::integer(arguments, "maxLines").value_or(static_cast<std::int64_t>(request.maxLines)));
    return request;
}

/// Later observations look in the same way, other than at menus, which close.
void remember(TreeView const& view, SeenMachine& seen)
{
    if (view.scope != "menu_bar")
        seen.view = view;
}

} // namespace

Task<McpToolResult> desktopSee(MachineCallPtr call, json::object arguments)
{
    LookRequest request = requestOf(arguments, call->seen());
    if (request.wantsTree)
        remember(request.view, call->seen());
    std::string heading;
    if (auto const quietMs = read::integer(arguments, "settle").value_or(0); quietMs > 0)
        heading = settlingText(co_await settle(call, quietMs));
    Look shown = co_await look(call, std::move(request));

    tooltext::Answer answer;
    if (!heading.empty() && !shown.heading.empty())
        heading += " · ";
    answer.first(heading + shown.heading);
    answer.add(std::move(shown.lines));
    answer.holdsData();
    McpToolResult result{.content = {{.text = answer.text()}}};
    for (McpContent& picture : shown.pictures)
        result.content.push_back(std::move(picture));
    co_return result;
}

} // namespace zelvo::service
