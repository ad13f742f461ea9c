#include "ZelvoGateway/mcp/tools/ScreenPicture.h"

#include "ZelvoGateway/base/Failure.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zelvo::service {

namespace {

constexpr std::size_t maxBytes = 1'400'000; // of base64
constexpr std::int64_t usualQuality = 80;
constexpr std::int64_t lowQuality = 50;
constexpr std::int64_t unknownDisplayWidth = 1'280;
constexpr std::int64_t maxPoints = 1'000'000; // of a display that makes sense
constexpr int maxTries = 4;

/// A picture as the machine sent it, not checked against the limits.
struct TakenPicture {
    ScreenPicture picture;
    DisplaySize part; ///< that it shows, in points
};

Failure senseless()
{
    return {.code = ErrorCode::internalError, .message = "The machine's picture makes no sense"};
}

std::int64_t positive(json::object const& result, std::string_view key)
{
    auto const number = read::integer(result, key);
    if (!number || *number < 1 || *number > maxPoints)
        throw senseless();
    return *number;
}

double numberOf(json::object const& object, std::string_view key)
{
    auto const number = read::number(object, key);
    if (!number || std::abs(*number) > static_cast<double>(maxPoints))
        throw senseless();
    return *number;
}

TakenPicture taken(json::object const& result)
{
    TakenPicture taken;
    ScreenPicture& picture = taken.picture;
    taken.part = {.width = positive(result, "widthPoints"), .height = positive(result, "heightPoints")};
    auto width = static_cast<double>(taken.part.width);
    if (json::object const* const region = read::object(result, "region")) {
        width = numberOf(*region, "w");
        picture.isPart = true;
        picture.space.origin = {.x = numberOf(*region, "x"), .y = numberOf(*region, "y")};
        taken.part = {.width = std::max<std::int64_t>(std::llround(width), 1),
                      .height = std::max<std::int64_t>(std::llround(numberOf(*region, "h")), 1)};
    }
    picture.pixels = {.width = positive(result, "imageWidth"), .height = positive(result, "imageHeight")};
    if (width < 1)
        throw senseless();
    picture.space.scale = static_cast<double>(picture.pixels.width) / width;
    picture.space.size = taken.part;
    picture.content.mimeType = read::text(result, "mime").value_or("");
    if (picture.content.mimeType != "image/jpeg" && picture.content.mimeType != "image/png")
        throw senseless();
    json::value const* const data = result.if_contains("data");
    if (!data || !data->is_string())
        throw senseless();
    if (data->get_string().size() <= maxBytes)
        picture.content.text = std::string(data->get_string());
    return taken;
}

json::object paramsFor(std::optional<SeenFrame> const& region, std::int64_t width, std::int64_t quality)
{
    json::object params{{"format", "jpeg"}, {"quality", quality}, {"maxWidth", width}};
    if (region)
        params["region"] =
            json::object{{"x", region->x}, {"y", region->y}, {"w", region->w}, {"h", region->h}};
    return params;
}

} // namespace

Task<ScreenPicture> takePicture(MachineCallPtr call, std::optional<SeenFrame> region)
{
    std::int64_t width = unknownDisplayWidth;
    if (region)
        width = pictureWidth({.width = region->w, .height = region->h}, call->pictures());
    else if (auto const display = co_await call->displaySize())
        width = std::min(pictureWidth(*display, call->pictures()), display->width);
    std::int64_t quality = usualQuality;
    for (int tries = 0; tries < maxTries; ++tries) {
        json::object params = paramsFor(region, width, quality);
        CommandResult const result = co_await call->run("screenshot", std::move(params));
        json::object const* const object = result.value.if_object();
        if (!object)
            throw senseless();
        TakenPicture one = taken(*object);
        std::int64_t const allowed = pictureWidth(one.part, call->pictures());
        // Else the display has changed.
        bool const isSmall =
            one.picture.pixels.width <= allowed && fits(one.picture.pixels, call->pictures());
        if (isSmall && !one.picture.content.text.empty())
            co_return std::move(one.picture);
        if (!isSmall)
            width = std::min(width, allowed);
        else if (quality > lowQuality)
            quality = lowQuality;
        else
            width = std::max<std::int64_t>(width / 2, 1);
    }
    throw ToolFailure{.code = ErrorCode::internalError,
                      .what = "The machine's picture is too large",
                      .next = "use what tree, or a smaller region"};
}

} // namespace zelvo::service
