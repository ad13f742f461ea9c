#include "base/Base64.h"
#include "base/Hop.h"
#include "router/RpcRouter.h"

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

json::value
treeResult(UiTreeSnapshot const& snapshot, bool compact, json::object (*encode)(UiElementInfo const&))
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

Task<json::value> RpcRouter::displayInfo(RpcFrame)
{
    DisplayGeometry const geometry = members.screen.displayGeometry();
    co_return json::object{{"widthPoints", geometry.widthPoints},
                           {"heightPoints", geometry.heightPoints},
                           {"scaleFactor", plainNumber(geometry.scaleFactor)},
                           {"displayId", geometry.displayId}};
}

Task<json::value> RpcRouter::screenshot(RpcFrame frame)
{
    co_await members.recorder.agentLooked();
    json::value result = co_await handleScreenshot(frame);
    co_await logLooked(frame.connectionId, frame.agentName);
    co_return result;
}

Task<json::value> RpcRouter::handleScreenshot(RpcFrame frame)
{
    CapturedImage const image = co_await capture(screenshotOptions(frame.params));
    std::string base64 = co_await on(contexts.workers, [&] { return base64::encode(image.data); });
    co_return screenshotResult(image, base64);
}

/// What the system refuses to show needs screen recording, whatever the permissions look like from here.
Task<CapturedImage> RpcRouter::capture(ScreenshotOptions options)
{
    try {
        co_return co_await members.screen.capture(options);
    } catch (AgentError const& refusal) {
        if (refusal != AgentError::permissionMissing)
            throw;
        throw DetailedAgentError{
            refusal, std::string(defaultMessage(refusal)), {{"permission", "screenRecording"}}};
    }
}

Task<json::value> RpcRouter::uiTree(RpcFrame frame)
{
    co_await members.recorder.agentLooked();
    json::value result = co_await handleUiTree(frame);
    co_await logLooked(frame.connectionId, frame.agentName);
    co_return result;
}

Task<json::value> RpcRouter::handleUiTree(RpcFrame frame)
{
    TreeScope const scope = treeScope(read::text(frame.params, "scope").value_or("frontmost"));
    bool const interactiveOnly = read::boolean(frame.params, "interactiveOnly").value_or(true);
    bool const compact = read::text(frame.params, "format").value_or("compact") == "compact";

    auto const front = co_await members.probe.frontmostApp();
    members.ownUi.assertAppReadable(front ? std::optional(front->bundleId) : std::nullopt);
    auto const snapshot = std::make_shared<UiTreeSnapshot const>(
        co_await members.tree.snapshot(scope, interactiveOnly, std::nullopt));
    // Another application may have come to the front meanwhile.
    members.ownUi.assertAppReadable(snapshot->app ? std::optional(snapshot->app->bundleId) : std::nullopt);
    snapshots.store(snapshot);
    co_return co_await on(contexts.workers, [&] { return treeResult(*snapshot, compact, &encode); });
}

json::object RpcRouter::encode(UiElementInfo const& element)
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

Task<json::value> RpcRouter::cursorPosition(RpcFrame)
{
    DesktopPoint const point = members.input.cursorPosition();
    co_return json::object{{"x", plainNumber(point.x)}, {"y", plainNumber(point.y)}};
}

} // namespace zelvo
