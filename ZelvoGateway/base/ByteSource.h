#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace zelvo::service {

/// Bytes that are read in pieces, because they are too many for memory. When what they come from is removed
/// meanwhile, a source either continues or throws; it never gives other bytes.
/// Thread: any, several readers at a time; a read may wait for a disk or a network.
/// Made by: recordings/OpenFile, recordings/s3/S3Source.
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
