#include "platform/linux/wayland/pipewire/VideoFrame.h"

#include <linux/dma-buf.h>
#include <sys/ioctl.h>

#include <cstring>
#include <utility>

namespace zelvo {

namespace {

constexpr std::size_t bytesPerPixel = 4;

/// Keeps a graphics card from writing to a frame while it exists, after waiting for what it is writing.
class Reading {
public:
    explicit Reading(VideoFrame const& frame) : card(frame.card) { announce(DMA_BUF_SYNC_START); }
    ~Reading() { announce(DMA_BUF_SYNC_END); }
    Reading(Reading const&) = delete;
    Reading& operator=(Reading const&) = delete;

private:
    void announce(std::uint64_t what) const
    {
        dma_buf_sync sync{.flags = DMA_BUF_SYNC_READ | what};
        if (card >= 0)
            ::ioctl(card, DMA_BUF_IOCTL_SYNC, &sync); // Some drivers have nothing to wait for, and refuse.
    }

    int const card;
};

std::size_t rowBytes(VideoFrame const& frame)
{
    return static_cast<std::size_t>(frame.width) * bytesPerPixel;
}

std::uint8_t const* rowAt(VideoFrame const& frame, int y)
{
    return frame.pixels + static_cast<std::size_t>(y) * static_cast<std::size_t>(frame.stride);
}

} // namespace

Picture copyOf(VideoFrame const& frame)
{
    Reading const reading(frame);
    std::size_t const row = rowBytes(frame);
    Picture picture{.width = frame.width,
                    .height = frame.height,
                    .stride = static_cast<int>(row),
                    .pixels = PixelBuffer(row * static_cast<std::size_t>(frame.height))};
    for (int y = 0; y < frame.height; ++y) {
        std::uint8_t* const to = picture.pixels.data() + static_cast<std::size_t>(y) * row;
        std::memcpy(to, rowAt(frame, y), row);
        if (frame.isRedFirst)
            for (std::size_t at = 0; at < row; at += bytesPerPixel)
                std::swap(to[at], to[at + 2]);
    }
    return picture;
}

std::uint64_t digestOf(VideoFrame const& frame)
{
    Reading const reading(frame);
    // Each step is invertible, so a change of one word always changes the result.
    constexpr std::uint64_t odd = 0x9e3779b97f4a7c15;
    std::uint64_t digest =
        static_cast<std::uint64_t>(frame.width) << 32 | static_cast<std::uint32_t>(frame.height);
    for (int y = 0; y < frame.height; ++y) {
        std::uint8_t const* const row = rowAt(frame, y);
        for (std::size_t at = 0; at < rowBytes(frame); at += bytesPerPixel) {
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, row + at, sizeof pixel);
            digest = (digest ^ pixel) * odd;
            digest ^= digest >> 32;
        }
    }
    return digest;
}

} // namespace zelvo
