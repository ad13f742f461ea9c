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
    result["scale"] = image.scale();
    return result;
}

} // namespace

Task<json::value> RpcRouter::displayInfo(RpcFrame)
{
    DisplayGeometry const geometry = members.screen.displayGeometry();
    co_return json::object{{"widthPoints", geometry.widthPoints},
                           {"heightPoints", geometry.heightPoints},
                           {"scaleFactor", geometry.scaleFactor},
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
    CapturedImage const image = co_await members.screen.capture(screenshotOptions(frame.params));
    std::string base64 = co_await on(contexts.workers, [&] { return base64::encode(image.data); });
    co_return screenshotResult(image, base64);
}

Task<json::value> RpcRouter::cursorPosition(RpcFrame)
{
    DesktopPoint const point = members.input.cursorPosition();
    co_return json::object{{"x", point.x}, {"y", point.y}};
}

} // namespace zelvo
