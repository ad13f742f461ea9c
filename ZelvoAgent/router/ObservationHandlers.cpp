#include "router/ObservationHandlers.h"

#include "base/Base64.h"
#include "base/Hop.h"
#include "wire/AgentError.h"

namespace zelvo {

namespace {

constexpr std::int64_t defaultQuality = 80;

ScreenshotOptions screenshotOptions(json::object const& params)
{
    ScreenshotOptions options;
    if (read::text(params, "format") == "png")
        options.format = ScreenshotOptions::ImageFormat::png;
    options.quality = read::integer(params, "quality").value_or(defaultQuality);
    options.maxWidth = read::integer(params, "maxWidth");
    return options;
}

json::value screenshotResult(CapturedImage const& image, std::string const& base64)
{
    json::object result;
    result["mime"] = image.mime;
    result["data"] = base64;
    result["imageWidth"] = image.imageWidth;
    result["imageHeight"] = image.imageHeight;
    result["widthPoints"] = image.geometry.widthPoints;
    result["heightPoints"] = image.geometry.heightPoints;
    result["scale"] = plainNumber(image.scale());
    return result;
}

TreeScope treeScope(std::string_view name)
{
    if (name == "all_windows")
        return TreeScope::allWindows;
    if (name == "menu_bar")
        return TreeScope::menuBar;
    return TreeScope::frontmost;
}

std::string compactLines(std::vector<UiElementInfo> const& elements)
{
    std::string lines;
    for (UiElementInfo const& element : elements) {
        if (!lines.empty())
            lines += '\n';
        lines += element.compactLine();
    }
    return lines;
}

json::object encode(UiElementInfo const& element)
{
    UiElementInfo::Frame const& frame = element.frame;
    json::object place{{"x", plainNumber(frame.x)},
                       {"y", plainNumber(frame.y)},
                       {"w", plainNumber(frame.w)},
                       {"h", plainNumber(frame.h)}};
    json::object object{{"id", element.id},
                        {"role", element.role},
                        {"frame", std::move(place)},
                        {"enabled", element.enabled},
                        {"focused", element.focused},
                        {"actions", json::array(element.actions.begin(), element.actions.end())}};
    auto const add = [&](char const* key, std::optional<std::string> const& text) {
        if (text)
            object[key] = *text;
    };
    add("title", element.title);
    add("subrole", element.subrole);
    add("description", element.elementDescription);
    add("value", element.value);
    add("identifier", element.identifier);
    return object;
}

json::value treeResult(UiTreeSnapshot const& snapshot, bool compact)
{
    json::array elements;
    elements.reserve(snapshot.elements.size());
    for (UiElementInfo const& element : snapshot.elements)
        elements.push_back(encode(element));
    json::object result{{"snapshotId", snapshot.snapshotId}, {"truncated", snapshot.truncated}};
    result["elements"] = std::move(elements);
    if (snapshot.app)
        result["app"] = {{"bundleId", snapshot.app->bundleId}, {"name", snapshot.app->name}};
    if (compact)
        result["compact"] = compactLines(snapshot.elements);
    return result;
}

} // namespace

Task<json::value> ObservationHandlers::displayInfo(Admission)
{
    DisplayGeometry const geometry = services.screen.displayGeometry();
    co_return json::object{{"widthPoints", geometry.widthPoints},
                           {"heightPoints", geometry.heightPoints},
                           {"scaleFactor", plainNumber(geometry.scaleFactor)},
                           {"displayId", geometry.displayId}};
}

Task<json::value> ObservationHandlers::screenshot(Admission admission)
{
    co_await services.recorder.agentLooked();
    CapturedImage const image = co_await capture(screenshotOptions(admission.frame.params));
    std::string const data =
        co_await on(services.contexts.workers, [&] { return base64::encode(image.data); });
    co_await logLooked(admission.frame.connectionId, admission.loggedAgentName());
    co_return screenshotResult(image, data);
}

/// What the system refuses to show needs screen recording, whatever the permissions look like from here.
Task<CapturedImage> ObservationHandlers::capture(ScreenshotOptions options)
{
    try {
        co_return co_await services.screen.capture(options);
    } catch (AgentError const& refusal) {
        if (refusal != AgentError::permissionMissing)
            throw;
        throw DetailedAgentError{
            refusal, std::string(defaultMessage(refusal)), {{"permission", "screenRecording"}}};
    }
}

Task<json::value> ObservationHandlers::uiTree(Admission admission)
{
    json::object const& params = admission.frame.params;
    TreeScope const scope = treeScope(read::text(params, "scope").value_or("frontmost"));
    bool const interactiveOnly = read::boolean(params, "interactiveOnly").value_or(true);
    bool const compact = read::text(params, "format").value_or("compact") == "compact";

    co_await services.recorder.agentLooked();
    auto const snapshot = std::make_shared<UiTreeSnapshot const>(co_await readTree(scope, interactiveOnly));
    services.snapshots.store(snapshot);
    json::value result =
        co_await on(services.contexts.workers, [&] { return treeResult(*snapshot, compact); });
    co_await logLooked(admission.frame.connectionId, admission.loggedAgentName());
    co_return result;
}

/// Looks for this program's own windows twice: another application may come to the front meanwhile.
Task<UiTreeSnapshot> ObservationHandlers::readTree(TreeScope scope, bool interactiveOnly)
{
    auto const front = co_await services.probe.frontmostApp();
    services.ownUi.assertAppReadable(front ? std::optional(front->bundleId) : std::nullopt);
    UiTreeSnapshot snapshot = co_await services.tree.snapshot(scope, interactiveOnly, std::nullopt);
    services.ownUi.assertAppReadable(snapshot.app ? std::optional(snapshot.app->bundleId) : std::nullopt);
    co_return snapshot;
}

Task<> ObservationHandlers::logLooked(std::optional<std::string> connectionId,
                                      std::optional<std::string> agentName)
{
    co_await on(services.contexts.main, [&] {
        if (auto const connection = services.state.connection(connectionId))
            services.state.logLooked(connection->platformName, connection->id, agentName,
                                     services.clock.date());
    });
}

Task<json::value> ObservationHandlers::cursorPosition(Admission)
{
    DesktopPoint const point = services.input.cursorPosition();
    co_return json::object{{"x", plainNumber(point.x)}, {"y", plainNumber(point.y)}};
}

} // namespace zelvo
