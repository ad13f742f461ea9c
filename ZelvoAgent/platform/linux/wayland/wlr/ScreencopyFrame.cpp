#include "platform/linux/wayland/wlr/ScreencopyFrame.h"

#include "wlr-screencopy-unstable-v1-client-protocol.h"

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

/// Numbers beyond every screen stay so.
int bounded(std::uint32_t value)
{
    return static_cast<int>(std::min(value, 1U << 30));
}

} // namespace

struct ScreencopyFrame::Listener {
    static ScreencopyFrame& of(void* data) { return *static_cast<ScreencopyFrame*>(data); }

    static void buffer(void* data,
                       zwlr_screencopy_frame_v1* object,
                       std::uint32_t format,
                       std::uint32_t width,
                       std::uint32_t height,
                       std::uint32_t stride)
    {
        RawFrame& raw = of(data).raw;
        raw.format = format;
        raw.width = bounded(width);
        raw.height = bounded(height);
        raw.stride = bounded(stride);
        if (zwlr_screencopy_frame_v1_get_version(object) < ZWLR_SCREENCOPY_FRAME_V1_BUFFER_DONE_SINCE_VERSION)
            of(data).become(State::described);
    }
    static void flags(void* data, zwlr_screencopy_frame_v1*, std::uint32_t flags)
    {
        of(data).raw.isBottomFirst = flags & ZWLR_SCREENCOPY_FRAME_V1_FLAGS_Y_INVERT;
    }
    static void ready(void* data, zwlr_screencopy_frame_v1*, std::uint32_t, std::uint32_t, std::uint32_t)
    {
        of(data).become(State::ready);
    }
    static void failed(void* data, zwlr_screencopy_frame_v1*) { of(data).become(State::failed); }
    static void
    damage(void*, zwlr_screencopy_frame_v1*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t)
    {
    }
    static void dmabuf(void*, zwlr_screencopy_frame_v1*, std::uint32_t, std::uint32_t, std::uint32_t) {}
    static void bufferDone(void* data, zwlr_screencopy_frame_v1*) { of(data).become(State::described); }

    static constexpr zwlr_screencopy_frame_v1_listener all{
        .buffer = buffer,
        .flags = flags,
        .ready = ready,
        .failed = failed,
        .damage = damage,
        .linux_dmabuf = dmabuf,
        .buffer_done = bufferDone,
    };
};

ScreencopyFrame::ScreencopyFrame(zwlr_screencopy_manager_v1* manager,
                                 wl_output* output,
                                 bool withPointer,
                                 std::function<void()> changed)
    : object(zwlr_screencopy_manager_v1_capture_output(manager, withPointer, output)),
      changed(std::move(changed))
{
    zwlr_screencopy_frame_v1_add_listener(object, &Listener::all, this);
}

ScreencopyFrame::~ScreencopyFrame()
{
    zwlr_screencopy_frame_v1_destroy(object);
}

void ScreencopyFrame::become(State next)
{
    now = next;
    if (changed)
        changed();
}

} // namespace zelvo
