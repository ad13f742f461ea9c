#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/mcp/TreeLines.h"
#include "ZelvoGateway/mcp/tools/Observation.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"
#include "ZelvoGateway/mcp/tools/Tools.h"
#include "base/Text.h"

#include <algorithm>
#include <utility>

namespace zelvo::service {

namespace {

constexpr std::size_t maxEntries = 200; // applications, and windows
constexpr std::int64_t usualQuietMs = 300;

/// A running application, in texts for one line.
struct RunningApp {
    std::string identifier;
    std::string name;
    bool isActive = false;
};

std::string shown(json::object const& object, std::string_view key)
{
    return tooltext::shownName(read::text(object, key).value_or(""));
}

Task<std::vector<RunningApp>> runningApps(MachineCallPtr call)
{
    CommandResult const result = co_await call->run("apps.list");
    std::vector<RunningApp> apps;
    if (json::array const* const list = result.value.if_array())
        for (json::value const& item : *list)
            if (json::object const* const app = item.if_object(); app && apps.size() < maxEntries)
                apps.push_back({.identifier = shown(*app, "bundleId"),
                                .name = shown(*app, "name"),
                                .isActive = read::boolean(*app, "active").value_or(false)});
    co_return apps;
}

std::string lineOf(RunningApp const& app)
{
    std::string const name = app.name.empty() ? app.identifier : app.name + " (" + app.identifier + ")";
    return (app.isActive ? "* " : "- ") + name;
}

std::int64_t side(json::object const& frame, std::string_view key)
{
    constexpr double maxSide = 1'000'000'000;
    double const number = read::number(frame, key).value_or(0);
    return number >= -maxSide && number <= maxSide ? static_cast<std::int64_t>(number) : 0;
}

std::string windowLine(json::object const& window, ScreenSpace const& space)
{
    SeenFrame frame;
    if (json::object const* const given = read::object(window, "frame"))
        frame = {
            .x = side(*given, "x"), .y = side(*given, "y"), .w = side(*given, "w"), .h = side(*given, "h")};
    bool const isElsewhere =
        space.size != DisplaySize{} && (frame.x >= space.size.width || frame.y >= space.size.height ||
                                        frame.x + frame.w <= 0 || frame.y + frame.h <= 0);
    SeenFrame const at = space.toShown(frame);
    return "  " + writeJson(json::value(shown(window, "title"))) + " of " + shown(window, "appName") + " (" +
           std::to_string(at.x) + "," + std::to_string(at.y) + " " + std::to_string(at.w) + "x" +
           std::to_string(at.h) + ")" + (isElsewhere ? " not on the main display" : "");
}

/// The one running application whose name has this part; `nullopt` if there are none or several.
std::optional<RunningApp> meant(std::vector<RunningApp> const& apps, std::string const& name)
{
    std::string const part = text::lowercased(name);
    std::optional<RunningApp> found;
    for (RunningApp const& app : apps) {
        if (text::lowercased(app.name).find(part) == std::string::npos &&
            text::lowercased(app.identifier).find(part) == std::string::npos)
            continue;
        if (found)
            return std::nullopt;
        found = app;
    }
    return found;
}

ToolFailure noApp(std::string const& name, std::vector<RunningApp> const& apps)
{
    ToolFailure failure{.code = ErrorCode::invalidRequest,
                        .what = "There is no application " +
                                writeJson(json::value(tooltext::shownName(name))) + ", or several; these run",
                        .next = "use the name or identifier of one that runs or is installed",
                        .holdsData = true};
    for (RunningApp const& app : apps)
        failure.lines.push_back(lineOf(app));
    return failure;
}

Task<CommandResult> open(MachineCallPtr call, std::string identifier, std::string name)
{
    json::object params{{"bundleId", identifier}, {"name", name}};
    co_return co_await call->run("apps.open", std::move(params));
}

/// Its name once it is in front.
Task<std::string> openApp(MachineCallPtr call, std::string name)
{
    std::optional<CommandResult> opened;
    try {
        opened = co_await open(call, name, name);
    } catch (Failure const& failure) {
        if (failure.code != ErrorCode::invalidRequest)
            throw;
    }
    if (!opened) {
        auto const apps = co_await runningApps(call);
        auto const app = meant(apps, name);
        if (!app)
            throw noApp(name, apps);
        opened = co_await open(call, app->identifier, app->name);
    }
    json::object const* const result = opened->value.if_object();
    std::string const shownAs = result ? shown(*result, "name") : "";
    co_return shownAs.empty() ? tooltext::shownName(name) : shownAs;
}

Task<std::string> openUrl(MachineCallPtr call, std::string url)
{
    json::object params{{"url", url}};
    co_await call->run("urls.open", std::move(params));
    co_return "the address";
}

} // namespace

Task<McpToolResult> appList(MachineCallPtr call, json::object)
{
    std::vector<RunningApp> const apps = co_await runningApps(call);
    CommandResult const windows = co_await call->run("windows.list");
    if (auto const display = co_await call->displaySize())
        call->seen().space = wholeDisplay(*display, call->pictures());

    tooltext::Answer answer;
    answer.first("Applications with windows, * is in front:");
    for (RunningApp const& app : apps)
        answer.add(lineOf(app));
    answer.add(std::string("Windows, front to back:"));
    std::size_t listed = 0;
    if (json::array const* const list = windows.value.if_array())
        for (json::value const& item : *list)
            if (json::object const* const window = item.if_object(); window && listed++ < maxEntries)
                answer.add(windowLine(*window, call->seen().space));
    answer.holdsData();
    co_return McpToolResult{.content = {{.text = answer.text()}}};
}

Task<McpToolResult> appOpen(MachineCallPtr call, json::object arguments)
{
    auto const app = read::text(arguments, "app");
    auto const url = read::text(arguments, "url");
    if (app.has_value() == url.has_value())
        throw ToolFailure{.code = ErrorCode::invalidRequest, .what = R"(Give either "app" or "url")"};
    ObservationRequest request{.what = read::text(arguments, "observe").value_or("tree"),
                               .settleMs = usualQuietMs};
    Deed deed{.holdsData = app.has_value()};
    try {
        if (app)
            deed.status = "ok · opened " + co_await openApp(call, *app);
        else
            deed.status = "ok · opened " + co_await openUrl(call, *url);
    } catch (ToolFailure const& failure) {
        deed.failure = failure;
    } catch (Failure const& failure) {
        deed.failure = toolFailure(failure);
    }
    co_return co_await observed(call, std::move(deed), std::move(request));
}

} // namespace zelvo::service
