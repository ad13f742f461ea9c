#include "ZelvoGateway/recordings/s3/S3RecordingFiles.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/recordings/s3/S3Bucket.h"
#include "ZelvoGateway/recordings/s3/S3Draft.h"
#include "ZelvoGateway/recordings/s3/S3Source.h"

#include <limits>
#include <vector>

namespace zelvo::service {

S3RecordingFiles::S3RecordingFiles(S3Settings const& place,
                                   std::string owner,
                                   S3Times const& times,
                                   Duration minAge)
    : bucket(std::make_shared<S3Bucket>(place, std::move(owner), times)), minAge(minAge)
{
}

S3RecordingFiles::~S3RecordingFiles() = default;

/// No request of S3 says how much room there is.
std::uint64_t S3RecordingFiles::freeBytes() const
{
    try {
        bucket->claim();
        return std::numeric_limits<std::uint64_t>::max();
    } catch (std::exception const& error) {
        Log::error(error.what());
        return 0;
    }
}

std::unique_ptr<RecordingDraft> S3RecordingFiles::draft(std::string const& id, std::uint64_t bytes) const
{
    bucket->claim();
    return std::make_unique<S3Draft>(bucket, bucket->keyOf(id), bytes);
}

std::shared_ptr<ByteSource const> S3RecordingFiles::open(std::string const& id) const
{
    S3Reply reply = bucket->perform({.method = "HEAD", .key = bucket->keyOf(id)});
    if (reply.status != 200)
        return nullptr;
    return std::make_shared<S3Source const>(bucket, bucket->keyOf(id), std::move(reply.tag), reply.length);
}

void S3RecordingFiles::remove(std::string const& id) const
{
    bucket->remove(bucket->keyOf(id));
}

void S3RecordingFiles::removeAllBut(std::set<std::string> const& ids) const
{
    bucket->claimAgain();
    std::vector<std::pair<std::string, std::string>> others; // Keys, with the ids of uploads.
    bucket->forEachObject([&](S3Object const& object, Date now) {
        auto const id = bucket->recordingOf(object.key);
        if (id && !ids.contains(*id) && object.modified <= now - dateSpan(minAge))
            others.emplace_back(object.key, "");
    });
    bucket->forEachUpload([&](S3Upload const& upload, Date now) {
        if (bucket->recordingOf(upload.key) && upload.begun <= now - dateSpan(minAge))
            others.emplace_back(upload.key, upload.id);
    });
    for (auto const& [key, uploadId] : others)
        bucket->remove(key, uploadId);
}

void S3RecordingFiles::stop() const
{
    bucket->stop();
}

void S3RecordingFiles::assertReachable(S3Settings const& place)
{
    S3Client client(place, {.connect = 5s, .stalled = 5s, .longest = 10s, .maxAttempts = 1});
    S3Reply const reply = client.perform(
        {.query = {{"list-type", "2"}, {"max-keys", "1"}, {"prefix", place.prefix}}, .maxAnswer = 1 << 20});
    if (!S3ObjectPage::parse(reply.body))
        throw RecordingFilesError(client.name() + ": s3-endpoint: this is no S3-compatible store (status " +
                                  std::to_string(reply.status) + ")");
}

} // namespace zelvo::service
