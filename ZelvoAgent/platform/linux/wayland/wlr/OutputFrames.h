#pragma once

#include "platform/ScreenSource.h"
#include "platform/linux/wayland/client/WaylandClient.h"
#include "platform/linux/wayland/client/WaylandOutputs.h"
#include "platform/linux/wayland/wlr/SharedPixels.h"

#include <cstdint>
#include <map>
#include <memory>

struct wl_shm;                     // NOLINT(readability-identifier-naming): libwayland names it.
struct zwlr_screencopy_manager_v1; // NOLINT(readability-identifier-naming): wayland-scanner names it.

namespace zelvo {

/// Takes pictures of outputs by zwlr_screencopy, on one connection.
/// Thread: one at a time; each call blocks.
class OutputFrames {
public:
    using Patience = WaylandClient::Patience;

    /// Connects. Throws ScreenFailure if the compositor is not there or does not offer the protocol.
    OutputFrames();
    ~OutputFrames();
    OutputFrames(OutputFrames const&) = delete;
    OutputFrames& operator=(OutputFrames const&) = delete;

    bool isAlive() const { return client->isAlive(); }
    /// One picture with the pointer, upright. Throws ScreenFailure.
    Picture take(std::uint32_t monitor, Patience patience);

private:
    wl_output* outputOf(std::uint32_t monitor);
    SharedPixels& pixelsFor(std::uint32_t monitor, RawFrame const& frame);

    std::shared_ptr<WaylandClient> client;
    zwlr_screencopy_manager_v1* manager = nullptr;
    wl_shm* shm = nullptr;
    std::unique_ptr<WaylandOutputs> outputs;
    std::map<std::uint32_t, std::unique_ptr<SharedPixels>> pixels; ///< of each monitor's last frame
};

} // namespace zelvo
