#pragma once

#include "platform/linux/wayland/client/WaylandClient.h"
#include "platform/linux/wayland/wlr/UprightPicture.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

struct wl_buffer; // NOLINT(readability-identifier-naming): libwayland names it.
struct wl_shm;    // NOLINT(readability-identifier-naming): libwayland names it.

namespace zelvo {

/// Memory that a compositor writes a frame into. The memory outlives this object while someone shares it.
/// Thread: the one that reads the connection.
class SharedPixels {
public:
    /// frame  of a format and size that bytesOf() accepts. Throws ScreenFailure if there is no memory.
    SharedPixels(wl_shm* shm, RawFrame const& frame);
    ~SharedPixels();
    SharedPixels(SharedPixels const&) = delete;
    SharedPixels& operator=(SharedPixels const&) = delete;

    /// Whether it can be written again: it is of that shape, and nobody else has its memory.
    bool fits(RawFrame const& frame) const;
    wl_buffer* buffer() const { return object; }
    std::span<std::uint8_t> bytes() const { return {static_cast<std::uint8_t*>(memory.get()), size}; }
    std::shared_ptr<void> share() const { return memory; }

private:
    RawFrame shape;
    std::size_t size;
    std::shared_ptr<void> memory;
    wl_buffer* object = nullptr;
};

} // namespace zelvo
