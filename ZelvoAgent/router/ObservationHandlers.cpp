#include "router/ObservationHandlers.h"

#include "base/Base64.h"
#include "base/Hop.h"
#include "router/ObservationValues.h"
#include "wire/AgentError.h"
#include "wire/records/Commands.h"

#include <chrono>

namespace zelvo {

namespace {

constexpr std::int64_t defaultQuality = 80;

ScreenSettling::Request settleRequest(Admission const& admission)
{
    json::object const& params = admission.frame.params;
    return {.quiet = milliseconds(params, "quietMs", 300, 10'000),
            .timeout = waitTimeout(params),
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

ElementWaiting::Request waitRequest(Admission const& admission)
{
    json::object const& params = admission.frame.params;
    return {.wanted = wantedElement(params),
            .scope = treeScope(params),
            .timeout = waitTimeout(params),
            .asker = admission.asker};
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

/// Only where frames are no places on the screen.
std::optional<std::string> originOfFrames(UiTreeSnapshot const& snapshot)
{
    return snapshot.isRelative ? std::optional<std::string>("window") : std::nullopt;
}

std::string compactLines(UiTreeSnapshot const& snapshot)
{
    std::string lines;
    for (UiElementInfo const& element : snapshot.elements) {
        if (!lines.empty())
            lines += '\n';
        lines += element.compactLine(snapshot.isRelative);
    }
    return lines;
}

json::value treeResult(UiTreeSnapshot const& snapshot, bool compact)
{
    records::UITree tree{.framesRelativeTo = originOfFrames(snapshot),
                         .snapshotId = snapshot.snapshotId,
                         .truncated = snapshot.truncated};
    tree.elements.reserve(snapshot.elements.size());
    for (UiElementInfo const& element : snapshot.elements)
        tree.elements.push_back(elementRecord(element));
    if (snapshot.app)
        tree.app = {.bundleId = snapshot.app->bundleId, .name = snapshot.app->name};
    if (compact)
        tree.compact = compactLines(snapshot);
    return records::toJson(std::move(tree));
}

json::value waitResult(ElementWaiting::Result const& result)
{
    auto const elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(result.elapsed);
    records::UIWaited waited{.elapsedMs = elapsed.count(), .matched = result.isMatched};
    if (result.element)
        waited.element = elementRecord(*result.element);
    if (result.snapshot) {
        waited.framesRelativeTo = originOfFrames(*result.snapshot);
        waited.snapshotId = result.snapshot->snapshotId;
    }
    return records::toJson(std::move(waited));
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
    TreeScope const scope = treeScope(params);
    bool const interactiveOnly = read::boolean(params, "interactiveOnly").value_or(true);
    bool const compact = read::text(params, "format").value_or("compact") == "compact";

    co_await services.recorder.agentLooked();
    auto const snapshot =
        std::make_shared<UiTreeSnapshot const>(co_await services.tree.read(scope, interactiveOnly));
    services.snapshots.store(admission.frame.connectionId, snapshot);
    json::value result =
        co_await on(services.contexts.workers, [&] { return treeResult(*snapshot, compact); });
    co_await logLooked(admission.frame.connectionId, admission.loggedAgentName());
    co_return result;
}

/// It reads the interface, so the log says that the agent looked.
Task<json::value> ObservationHandlers::uiWait(Admission admission)
{
    ElementWaiting::Request request = waitRequest(admission);
    co_await services.recorder.agentLooked();
    ElementWaiting::Result const result = co_await services.waiting.wait(std::move(request));
    if (result.snapshot)
        services.snapshots.store(admission.frame.connectionId, result.snapshot);
    co_await logLooked(admission.frame.connectionId, admission.loggedAgentName());
    co_return waitResult(result);
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
    DesktopPoint const point =
        co_await on(services.contexts.workers, [this] { return services.input.cursorPosition(); });
    records::Point const position{.x = point.x, .y = point.y};
    co_return records::toJson(position);
}

} // namespace zelvo
