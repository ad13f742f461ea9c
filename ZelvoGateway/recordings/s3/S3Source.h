#pragma once

#include "ZelvoGateway/base/ByteSource.h"
#include "ZelvoGateway/recordings/s3/S3Bucket.h"

#include <memory>
#include <mutex>
#include <string>

namespace zelvo::service {

/// An object that is read in ranges. The last one that was fetched stays in memory, for readers that follow
/// each other. Once the object is removed, reads throw.
class S3Source final : public ByteSource {
public:
    static constexpr std::size_t window = std::size_t{1} << 20;

    /// tag   names the content; another one is never read
    S3Source(std::shared_ptr<S3Bucket> bucket, std::string key, std::string tag, std::uint64_t bytes);

    std::uint64_t size() const override { return bytes; }
    std::size_t read(std::uint64_t offset, std::span<char> room) const override;

private:
    std::string fetched(std::uint64_t offset, std::size_t count) const;
    std::size_t copyHeld(std::uint64_t offset, std::span<char> room) const;

    std::shared_ptr<S3Bucket> const bucket;
    std::string const key;
    std::string const tag;
    std::uint64_t const bytes;
    mutable std::mutex lock;
    mutable std::string held;           // lock
    mutable std::uint64_t heldFrom = 0; // lock
};

} // namespace zelvo::service
