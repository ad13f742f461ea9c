#pragma once

#include "base/Contexts.h"
#include "platform/DrawingWatch.h"
#include "platform/ScreenSource.h"
#include "platform/linux/wayland/capture/DrawingSignal.h"

namespace zelvo {

/// Finds what was drawn by comparing pictures, after the compositor has reported something new. So only what
/// agents may see counts; a change that is undone between two looks does not.
class WaylandDrawingWatches final : public DrawingWatches {
public:
    /// All of it outlives the watches.
    WaylandDrawingWatches(Contexts contexts, ScreenSource& source, DrawingSignal& drawing);

    Task<std::unique_ptr<DrawingWatch>>
    open(std::uint32_t display, std::set<std::string> excluded, std::function<void()> drawn) override;

private:
    Contexts contexts;
    ScreenSource& source;
    DrawingSignal& drawing;
};

} // namespace zelvo
