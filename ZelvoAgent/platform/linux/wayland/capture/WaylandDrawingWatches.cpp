#include "platform/linux/wayland/capture/WaylandDrawingWatches.h"

#include "base/Hop.h"
#include "platform/portable/pictures/PictureDifference.h"
#include "platform/portable/pictures/PicturePart.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <utility>

namespace zelvo {

namespace {

class WaylandDrawingWatch final : public DrawingWatch {
public:
    WaylandDrawingWatch(Contexts given,
                        ScreenSource& source,
                        DrawingSignal& drawing,
                        std::uint32_t display,
                        std::function<void()> drawn)
        : contexts(std::move(given)), source(source), display(display),
          following(drawing.observe(display, [flag = isReported, drawn = std::move(drawn)] {
              if (!flag->exchange(true))
                  drawn();
          }))
    {
    }

    Task<std::vector<DesktopRect>> take(std::set<std::string> excluded) override
    {
        Display const shown = displayNow();
        *isReported = false; // Before the picture: what is drawn after it is reported.
        CaptureRequest request{.display = display,
                               .width = pixels(shown.widthPoints * shown.scaleFactor),
                               .height = pixels(shown.heightPoints * shown.scaleFactor),
                               .excluded = std::move(excluded)};
        Picture const picture = co_await source.capture(std::move(request));
        auto compare = [&] {
            std::vector<DisplayPart> parts;
            if (last.width > 0)
                parts = differenceOf(last, picture);
            if (last.width == 0 || !parts.empty())
                last = copyOf(picture); // The pixels are lent.
            return parts;
        };
        std::vector<DisplayPart> const parts = co_await on(contexts.workers, std::move(compare));
        std::vector<DesktopRect> drawn;
        drawn.reserve(parts.size());
        for (DisplayPart const& part : parts)
            drawn.push_back(inPoints(part, shown));
        co_return drawn;
    }

private:
    static int pixels(double length) { return std::max(1, static_cast<int>(std::lround(length))); }

    static DesktopRect inPoints(DisplayPart const& part, Display const& shown)
    {
        double const scale = shown.scaleFactor;
        return {part.x / scale, part.y / scale, part.width / scale, part.height / scale};
    }

    Display displayNow() const
    {
        auto const screens = source.screens();
        auto const found = std::ranges::find(screens, display, &Display::id);
        if (found == screens.end())
            throw ScreenFailure{"the display is gone"};
        return *found;
    }

    Contexts const contexts;
    ScreenSource& source;
    std::uint32_t const display;
    Picture last; // What take() saw; one call at a time.
    std::shared_ptr<std::atomic<bool>> isReported = std::make_shared<std::atomic<bool>>(true);
    std::shared_ptr<void> following;
};

} // namespace

WaylandDrawingWatches::WaylandDrawingWatches(Contexts contexts, ScreenSource& source, DrawingSignal& drawing)
    : contexts(std::move(contexts)), source(source), drawing(drawing)
{
}

Task<std::unique_ptr<DrawingWatch>> WaylandDrawingWatches::open(std::uint32_t display,
                                                                std::set<std::string> excluded,
                                                                std::function<void()> drawn)
{
    auto watch = std::make_unique<WaylandDrawingWatch>(contexts, source, drawing, display, std::move(drawn));
    // What there is already is no drawing.
    co_await watch->take(std::move(excluded));
    co_return watch;
}

} // namespace zelvo
