#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

struct wl_buffer; // NOLINT(readability-identifier-naming): libwayland names it.
struct wl_shm;    // NOLINT(readability-identifier-naming): libwayland names it.

namespace zelvo {

/// Pixels that are shared with the compositor: AARRGGBB, premultiplied, without gaps.
/// Thread: the one that reads the connection.
class OverlayBuffer {
public:
    /// Null if there is no memory for it.
    static std::unique_ptr<OverlayBuffer> make(wl_shm* memory, int width, int height);
    ~OverlayBuffer();
    OverlayBuffer(OverlayBuffer const&) = delete;
    OverlayBuffer& operator=(OverlayBuffer const&) = delete;

    wl_buffer* get() const { return buffer; }
    std::uint32_t* pixels() { return data; }
    bool hasSize(int otherWidth, int otherHeight) const
    {
        return width == otherWidth && height == otherHeight;
    }
    /// Whether the compositor may still read it.
    bool isBusy() const { return busy; }
    void noteAttached() { busy = true; }
    void clear();

private:
    OverlayBuffer(int width, int height) : width(width), height(height) {}
    std::size_t size() const
    {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
    }

    int width;
    int height;
    wl_buffer* buffer = nullptr;
    std::uint32_t* data = nullptr;
    bool busy = false;
};

} // namespace zelvo
