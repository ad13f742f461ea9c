#include "platform/linux/wayland/wlr/OutputFrames.h"

#include "platform/linux/wayland/wlr/ScreencopyFrame.h"
#include "wlr-screencopy-unstable-v1-client-protocol.h"

#include <wayland-client-protocol.h>

#include <utility>

namespace zelvo {

OutputFrames::OutputFrames() : client(WaylandClient::open())
{
    if (!client)
        throw ScreenFailure{"the compositor cannot be reached"};
    if (!client->find(zwlr_screencopy_manager_v1_interface.name) || !client->find(wl_shm_interface.name))
        throw ScreenFailure{"the compositor has no zwlr_screencopy"};
    manager = client->bind<zwlr_screencopy_manager_v1>(zwlr_screencopy_manager_v1_interface, 3);
    shm = client->bind<wl_shm>(wl_shm_interface, 1);
    outputs = std::make_unique<WaylandOutputs>(client);
}

OutputFrames::~OutputFrames()
{
    pixels.clear();
    outputs.reset();
    if (shm)
        wl_shm_destroy(shm);
    if (manager)
        zwlr_screencopy_manager_v1_destroy(manager);
}

wl_output* OutputFrames::outputOf(std::uint32_t monitor)
{
    wl_output* output = outputs->find(monitor);
    // A new output is bound in the first round trip and described in the second one.
    for (int i = 0; i < 2 && !output && client->roundtrip(); ++i)
        output = outputs->find(monitor);
    if (!output)
        throw ScreenFailure{"there is no such monitor"};
    return output;
}

SharedPixels& OutputFrames::pixelsFor(std::uint32_t monitor, RawFrame const& frame)
{
    auto& kept = pixels[monitor];
    if (!kept || !kept->fits(frame))
        kept = std::make_unique<SharedPixels>(shm, frame);
    return *kept;
}

Picture OutputFrames::take(std::uint32_t monitor, Patience patience)
{
    using State = ScreencopyFrame::State;
    ScreencopyFrame const frame(manager, outputOf(monitor), true);
    if (!client->dispatchUntil([&] { return frame.state() != State::asked; }, patience) ||
        frame.state() == State::failed)
        throw ScreenFailure{"the compositor gives no frame"};
    RawFrame shape = frame.shape();
    if (!bytesOf(shape))
        throw ScreenFailure{"the compositor's frame has an unknown format"};
    SharedPixels const& target = pixelsFor(monitor, shape);
    zwlr_screencopy_frame_v1_copy(frame.get(), target.buffer());
    if (!client->dispatchUntil([&] { return frame.state() != State::described; }, patience) ||
        frame.state() != State::ready) {
        // The compositor may still write into it.
        pixels.erase(monitor);
        throw ScreenFailure{"the compositor made no frame"};
    }
    shape.isBottomFirst = frame.shape().isBottomFirst;
    shape.transform = outputs->transform(monitor);
    return uprightPicture(shape, target.bytes(), target.share());
}

} // namespace zelvo
