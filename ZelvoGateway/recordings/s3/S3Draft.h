#pragma once

#include "ZelvoGateway/recordings/s3/S3Bucket.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// A recording on its way into a bucket: one object if it is small, else a multipart upload, of which one
/// part at a time is in memory. Nothing is visible before keep().
class S3Draft final : public RecordingDraft {
public:
    static constexpr std::size_t minPart = std::size_t{5}
                                           << 20; ///< The least that S3 accepts, for our memory.
    static constexpr std::size_t maxPart = std::size_t{64} << 20;
    static constexpr int maxOpen = 64; ///< at one time; each has a part in memory

    /// Throws RecordingFilesError if the recording is too large, or too many are open.
    S3Draft(std::shared_ptr<S3Bucket> bucket, std::string key, std::uint64_t bytes);
    S3Draft(S3Draft const&) = delete;
    S3Draft& operator=(S3Draft const&) = delete;
    ~S3Draft() override;

    void write(std::string_view piece) override;
    void keep() override;

private:
    void begin();
    void sendPart();
    void putWhole();
    void complete();
    void assertStored();
    bool isStored();
    [[noreturn]] void fail(std::string const& what) const;

    std::shared_ptr<S3Bucket> const bucket;
    std::string const key;
    std::size_t const partBytes;
    std::string part;
    std::uint64_t written = 0;
    std::string uploadId; // Empty before the first part.
    std::vector<std::string> tags;
    bool mayBeVisible = false;
    bool isKept = false;
};

} // namespace zelvo::service
