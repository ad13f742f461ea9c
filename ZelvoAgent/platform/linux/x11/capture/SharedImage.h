#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace zelvo {

class X11Connection;

/// Shared memory that the X server writes pictures into. It grows as needed.
class SharedImage {
public:
    explicit SharedImage(std::shared_ptr<X11Connection> connection);
    ~SharedImage();
    SharedImage(SharedImage const&) = delete;
    SharedImage& operator=(SharedImage const&) = delete;

    /// Makes room for this many bytes; the old content is lost. False if the server can't share memory with
    /// us.
    bool reserve(std::size_t bytes);
    std::uint32_t segment() const { return id; }
    std::uint8_t* data() { return memory; }
    std::uint8_t const* data() const { return memory; }

private:
    void release();

    std::shared_ptr<X11Connection> connection;
    std::uint32_t id = 0;
    std::uint8_t* memory = nullptr;
    std::size_t size = 0;
};

} // namespace zelvo
