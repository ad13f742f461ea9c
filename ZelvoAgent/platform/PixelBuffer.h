#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>
#include <utility>

namespace zelvo {

/// The bytes of a picture: owned memory, or memory that the screen system lends until the buffer is
/// destroyed. Thread: one at a time.
class PixelBuffer {
public:
    PixelBuffer() = default;
    /// Zeroes. The system supplies zeroed pages, so pages that are never written cost nothing.
    explicit PixelBuffer(std::size_t size)
        : bytes(static_cast<std::uint8_t*>(std::calloc(size, 1)), size), owner(bytes.data(), std::free)
    {
        if (size && !bytes.data())
            throw std::bad_alloc();
    }
    /// Lent memory: `owner` keeps it alive.
    PixelBuffer(std::span<std::uint8_t> bytes, std::shared_ptr<void> owner)
        : bytes(bytes), owner(std::move(owner))
    {
    }
    PixelBuffer(PixelBuffer&& other) noexcept
        : bytes(std::exchange(other.bytes, {})), owner(std::move(other.owner))
    {
    }
    PixelBuffer& operator=(PixelBuffer&& other) noexcept
    {
        bytes = std::exchange(other.bytes, {});
        owner = std::move(other.owner);
        return *this;
    }
    ~PixelBuffer() = default;

    std::uint8_t* data() { return bytes.data(); }
    std::uint8_t const* data() const { return bytes.data(); }
    std::size_t size() const { return bytes.size(); }
    std::uint8_t& operator[](std::size_t at) { return bytes[at]; }
    std::uint8_t operator[](std::size_t at) const { return bytes[at]; }

private:
    std::span<std::uint8_t> bytes;
    std::shared_ptr<void> owner;
};

} // namespace zelvo
