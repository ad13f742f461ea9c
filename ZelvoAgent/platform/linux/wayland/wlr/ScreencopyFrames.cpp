#include "platform/linux/wayland/wlr/ScreencopyFrames.h"

#include "base/Hop.h"

#include <utility>

namespace zelvo {

namespace {

/// A frame of a screen at rest takes some milliseconds.
constexpr WaylandClient::Patience patience{2000};

} // namespace

bool ScreencopyFrames::isOffered(WaylandClient const& client)
{
    return client.find("zwlr_screencopy_manager_v1") && client.find("wl_shm");
}

ScreencopyFrames::ScreencopyFrames(Contexts contexts, Clock& clock)
    : contexts(std::move(contexts)), clock(clock)
{
}

Task<Picture> ScreencopyFrames::everything(std::uint32_t monitor)
{
    auto const lock = co_await taking.lock();
    co_return co_await on(contexts.workers, [&] {
        if (!frames || !frames->isAlive())
            frames.reset();
        if (!frames)
            frames = std::make_unique<OutputFrames>();
        return frames->take(monitor, patience);
    });
}

Task<Picture> ScreencopyFrames::without(std::uint32_t, LeftOut)
{
    throw ScreenFailure{"the compositor shows whole outputs only"};
    co_return Picture{};
}

bool ScreencopyFrames::watchDrawing(std::function<void(std::uint32_t monitor)> drawn)
{
    drawing = std::make_unique<DrawingFrames>(contexts, clock, std::move(drawn));
    return true;
}

void ScreencopyFrames::setDrawingWanted(bool wanted)
{
    if (drawing)
        drawing->setWanted(wanted);
}

} // namespace zelvo
