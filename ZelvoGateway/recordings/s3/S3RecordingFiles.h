#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/recordings/RecordingFiles.h"
#include "ZelvoGateway/recordings/s3/S3Transfer.h"

#include <memory>
#include <string>

namespace zelvo::service {

class S3Bucket;

/// Files in a bucket of an S3-compatible store, which several gateways of one store may share.
class S3RecordingFiles final : public RecordingFiles {
public:
    /// Longer than any upload may take, with a reserve for the time between two clocks.
    static constexpr Duration minOtherAge = 1h;

    /// owner    the id of the store that the recordings belong to
    /// minAge   what is younger may be another gateway's work, and is not removed
    S3RecordingFiles(S3Settings const& place,
                     std::string owner,
                     S3Times const& times = {},
                     Duration minAge = minOtherAge);
    S3RecordingFiles(S3RecordingFiles const&) = delete;
    S3RecordingFiles& operator=(S3RecordingFiles const&) = delete;
    ~S3RecordingFiles() override;

    std::uint64_t freeBytes() const override;
    std::unique_ptr<RecordingDraft> draft(std::string const& id, std::uint64_t bytes) const override;
    std::shared_ptr<ByteSource const> open(std::string const& id) const override;
    void remove(std::string const& id) const override;
    void removeAllBut(std::set<std::string> const& ids) const override;
    void stop() const override;

    /// Asks for a list of the bucket, once, and changes nothing. Throws RecordingFilesError.
    static void assertReachable(S3Settings const& place);

private:
    std::shared_ptr<S3Bucket> bucket;
    Duration minAge;
};

} // namespace zelvo::service
