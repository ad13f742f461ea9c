#pragma once

#include <spa/buffer/buffer.h>

#include <cstddef>
#include <cstdint>

namespace zelvo {

/// Memory of a stream's buffer: shared memory, or that of a graphics card. It stays readable after the sender
/// has removed the buffer. Thread: one at a time.
class BufferMemory {
public:
    explicit BufferMemory(spa_data const& data);
    ~BufferMemory();
    BufferMemory(BufferMemory const&) = delete;
    BufferMemory& operator=(BufferMemory const&) = delete;

    bool isUsable() const { return start != nullptr; }
    /// A descriptor of the graphics card's memory, open as long as this object; -1 for shared memory.
    int card() const { return ofCard; }
    /// Null if that part is not all inside.
    std::uint8_t const* at(std::size_t from, std::size_t length) const;

private:
    std::size_t size = 0;
    std::size_t offset;
    int ofCard = -1;
    void* start = nullptr;
};

} // namespace zelvo
