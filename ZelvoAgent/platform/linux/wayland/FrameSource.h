#pragma once

#include "base/Task.h"
#include "platform/ScreenSource.h"
#include "platform/linux/wayland/WindowSource.h"

#include <cstdint>
#include <functional>
#include <set>
#include <string>

namespace zelvo {

/// What a monitor shows.
/// Thread: any; one call at a time, further ones wait.
/// Made by: wayland/wlr, wayland/kwin, wayland/pipewire, wayland/shell, tests/fakes/FakeFrameSource.
class FrameSource {
public:
    /// Which of these windows must be left out, by their ids.
    using LeftOut = std::function<std::set<std::string>(WindowsNow const&)>;

    virtual ~FrameSource() = default;
    /// Everything that the monitor shows, with the pointer, in its full resolution and upright. It shows the
    /// screen as it was at some moment after the call. Throws ScreenFailure.
    virtual Task<Picture> everything(std::uint32_t monitor) = 0;
    /// Whether without() can be used.
    virtual bool canLeaveOut() const = 0;
    /// The same without some windows: no pixel of theirs is in the picture, nor what they hide of others. The
    /// decision is asked with the windows of the moment of the picture, on any thread, perhaps several
    /// times. Throws ScreenFailure, also if the compositor cannot say what is in the picture.
    virtual Task<Picture> without(std::uint32_t monitor, LeftOut leftOut) = 0;
    /// Calls the observer on the agent executor when something may have been drawn. False if the source does
    /// not know; it is then never called. Costs nothing while `wanted` is false. Thread: any.
    virtual bool watchDrawing(std::function<void(std::uint32_t monitor)> drawn) = 0;
    virtual void setDrawingWanted(bool wanted) = 0;
};

} // namespace zelvo
