#include "router/ObservationHandlers.h"

#include "base/Base64.h"
#include "base/Hop.h"
#include "wire/AgentError.h"
#include "wire/records/Commands.h"

#include <algorithm>
#include <chrono>

namespace zelvo {

namespace {

constexpr std::int64_t defaultQuality = 80;

/// Throws AgentError::invalidRequest for an object that is no region.
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

std::chrono::milliseconds
milliseconds(json::object const& params, char const* key, std::int64_t otherwise, std::int64_t max)
{
    std::int64_t const value = read::integer(params, key).value_or(otherwise);
    return std::chrono::milliseconds(std::clamp<std::int64_t>(value, 0, max));
}

ScreenSettling::Request settleRequest(Admission const& admission)
{
    json::object const& params = admission.frame.params;
    return {.quiet = milliseconds(params, "quietMs", 300, 10'000),
            .timeout = milliseconds(params, "timeoutMs", 3'000, 30'000),
            .region = regionIn(params),
            .asker = admission.asker};
}

ScreenshotOptions screenshotOptions(json::object const& params)
{
    ScreenshotOptions options;
    if (read::text(params, "format") == "png")
        options.format = ScreenshotOptions::ImageFormat::png;
    options.quality = read::integer(params, "quality").value_or(defaultQuality);
    options.maxWidth = read::integer(params, "maxWidth");
    options.region = regionIn(params);
    return options;
}

std::optional<records::ElementFrame> regionOf(CapturedImage const& image)
{
    if (!image.region)
        return std::nullopt;
    DesktopRect const& shown = *image.region;
    return records::ElementFrame{.x = shown.x, .y = shown.y, .w = shown.width, .h = shown.height};
}

/// A text may be long: it is made in its place.
json::value screenshotResult(CapturedImage const& image)
{
    records::Screenshot result{.heightPoints = image.geometry.heightPoints,
                               .imageHeight = image.imageHeight,
                               .imageWidth = image.imageWidth,
                               .mime = std::string(image.mime),
                               .region = regionOf(image),
                               .scale = image.scale(),
                               .widthPoints = image.geometry.widthPoints};
    result.data.resize(base64::encodedLength(image.data.size()));
    base64::encodeTo(result.data.data(), image.data);
    return records::toJson(std::move(result));
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

records::UIElement encode(UiElementInfo const& element)
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

json::value treeResult(UiTreeSnapshot const& snapshot, bool compact)
{
    records::UITree tree{.snapshotId = snapshot.snapshotId, .truncated = snapshot.truncated};
    tree.elements.reserve(snapshot.elements.size());
    for (UiElementInfo const& element : snapshot.elements)
        tree.elements.push_back(encode(element));
    if (snapshot.app)
        tree.app = {.bundleId = snapshot.app->bundleId, .name = snapshot.app->name};
    if (compact)
        tree.compact = compactLines(snapshot.elements);
    return records::toJson(std::move(tree));
}

} // namespace

Task<json::value> ObservationHandlers::displayInfo(Admission)
{
    co_return records::toJson(services.screen.displayGeometry().toRecord());
}

Task<json::value> ObservationHandlers::screenshot(Admission admission)
{
    ScreenshotOptions const options = screenshotOptions(admission.frame.params);
    co_await services.recorder.agentLooked();
    CapturedImage const image = co_await capture(options);
    json::value result = co_await on(services.contexts.workers, [&] { return screenshotResult(image); });
    co_await logLooked(admission.frame.connectionId, admission.loggedAgentName());
    co_return result;
}

/// A look, so that a recording goes on until the screen is at rest.
Task<json::value> ObservationHandlers::screenSettle(Admission admission)
{
    ScreenSettling::Request request = settleRequest(admission);
    co_await services.recorder.agentLooked();
    ScreenSettling::Result const result = co_await services.settling.settle(std::move(request));
    auto const elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(result.elapsed);
    records::ScreenSettled const settled{.elapsedMs = elapsed.count(), .settled = result.settled};
    co_return records::toJson(settled);
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
    services.snapshots.store(admission.frame.connectionId, snapshot);
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
    records::Point const position{.x = point.x, .y = point.y};
    co_return records::toJson(position);
}

} // namespace zelvo
