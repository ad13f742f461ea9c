#include "platform/linux/wayland/capture/WaylandScreenStreams.h"

#include "platform/portable/streams/PacedScreenStream.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace zelvo {

namespace {

/// Whether any monitor was drawn to: a stream may change its monitor.
class DrawingChanges final : public ChangeDetector {
public:
    explicit DrawingChanges(DrawingSignal& drawing)
        : isDrawn(std::make_shared<std::atomic<bool>>(false)),
          following(drawing.observe(DrawingSignal::anyMonitor, [flag = isDrawn] { *flag = true; }))
    {
    }

    bool take() override { return isDrawn->exchange(false); }
    bool isAlive() const override { return true; }

private:
    std::shared_ptr<std::atomic<bool>> isDrawn;
    std::shared_ptr<void> following;
};

} // namespace

WaylandScreenStreams::WaylandScreenStreams(Contexts contexts,
                                           Clock& clock,
                                           ScreenSource& source,
                                           DrawingSignal& drawing)
    : contexts(std::move(contexts)), clock(clock), source(source), drawing(drawing)
{
}

Task<std::unique_ptr<ScreenStream>> WaylandScreenStreams::open(ScreenStreamRequest request,
                                                               Executor queue,
                                                               std::weak_ptr<ScreenStreamOutput> output)
{
    if (request.picture.width < 1 || request.picture.height < 1)
        throw ScreenFailure{"a picture needs a width and a height"};
    auto const displays = co_await source.capturableDisplays();
    if (std::ranges::find(displays, request.picture.display, &Display::id) == displays.end())
        throw ScreenFailure{"the display can't be read"};
    auto const openChanges = [this]() -> std::unique_ptr<ChangeDetector> {
        return std::make_unique<DrawingChanges>(drawing);
    };
    PacedStreamParts parts{
        .contexts = contexts, .clock = clock, .source = source, .openChanges = openChanges};
    co_return std::make_unique<PacedScreenStream>(std::move(parts), openChanges(), std::move(request),
                                                  std::move(queue), std::move(output));
}

} // namespace zelvo
