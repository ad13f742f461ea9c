#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace zelvo::service {

/// Bytes that are read in pieces, because they are too many for memory. They can be read for as long as
/// somebody holds the source, also when what they come from is removed meanwhile.
/// Thread: any, several readers at a time; a read may wait for a disk or a network.
/// Made by: OpenFile.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    virtual std::uint64_t size() const = 0;
    /// Fills as much of `room` as there is from `offset` on. Returns the number of bytes; 0 at the end.
    /// Throws std::runtime_error.
    virtual std::size_t read(std::uint64_t offset, std::span<char> room) const = 0;
};

/// `length` bytes of a source, from `offset` on.
struct ByteSourcePart {
    std::shared_ptr<ByteSource const> source;
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
};

} // namespace zelvo::service
