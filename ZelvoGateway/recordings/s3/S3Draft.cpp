#include "ZelvoGateway/recordings/s3/S3Draft.h"

#include <algorithm>

namespace zelvo::service {

namespace {

constexpr std::uint64_t maxParts = 9'000; // S3 takes 10,000.
constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20;
constexpr char const* videoType = "Content-Type: video/mp4";

std::size_t partFor(std::uint64_t bytes)
{
    std::uint64_t const needed = (bytes / maxParts / mebibyte + 1) * mebibyte;
    if (needed > S3Draft::maxPart)
        throw RecordingFilesError("the recording is too large for an S3-compatible store");
    return std::max<std::uint64_t>(S3Draft::minPart, needed);
}

} // namespace

S3Draft::S3Draft(std::shared_ptr<S3Bucket> bucket, std::string key, std::uint64_t bytes)
    : bucket(std::move(bucket)), key(std::move(key)), partBytes(partFor(bytes))
{
    if (++this->bucket->openDrafts <= maxOpen)
        return;
    --this->bucket->openDrafts;
    RecordingFilesError error("too many recordings are uploaded at one time");
    error.isTemporary = true;
    throw error;
}

S3Draft::~S3Draft()
{
    --bucket->openDrafts;
    if (isKept)
        return;
    if (!uploadId.empty())
        bucket->cleanup.remove(key, uploadId);
    if (mayBeVisible)
        bucket->cleanup.remove(key, {});
}

void S3Draft::fail(std::string const& what) const
{
    throw RecordingFilesError(bucket->name() + ": " + what);
}

void S3Draft::write(std::string_view piece)
{
    while (!piece.empty()) {
        std::string_view const fitting = piece.substr(0, partBytes - part.size());
        part += fitting;
        written += fitting.size();
        piece.remove_prefix(fitting.size());
        if (part.size() == partBytes && !piece.empty())
            sendPart();
    }
}

void S3Draft::begin()
{
    S3Reply const reply =
        bucket->perform({.method = "POST", .key = key, .query = {{"uploads", ""}}, .headers = {videoType}});
    auto id = createdUploadIn(reply.body);
    if (reply.status != 200 || !id)
        fail("the store does not begin an upload (status " + std::to_string(reply.status) + ")");
    uploadId = *std::move(id);
}

void S3Draft::sendPart()
{
    if (uploadId.empty())
        begin();
    S3Reply const reply =
        bucket->perform({.method = "PUT",
                         .key = key,
                         .query = {{"partNumber", std::to_string(tags.size() + 1)}, {"uploadId", uploadId}},
                         .headers = {"Content-Type: application/octet-stream"},
                         .body = part});
    if (reply.status != 200 || reply.tag.empty() || reply.tag.size() > 256)
        fail("the store does not take a part (status " + std::to_string(reply.status) + ")");
    tags.push_back(reply.tag);
    part.clear();
}

void S3Draft::keep()
{
    mayBeVisible = true;
    if (uploadId.empty()) {
        putWhole();
    } else {
        sendPart();
        complete();
    }
    assertStored();
    isKept = true;
    part = {};
}

void S3Draft::putWhole()
{
    S3Reply const reply =
        bucket->perform({.method = "PUT", .key = key, .headers = {videoType}, .body = part});
    if (reply.status != 200)
        fail("the store does not take a recording (status " + std::to_string(reply.status) + ")");
}

/// An answer may be lost, and a second request then finds the upload gone. A store may also answer with
/// status 200 before it knows, and with an error in the body.
void S3Draft::complete()
{
    std::string const parts = completionOf(tags);
    S3Request const request{.method = "POST",
                            .key = key,
                            .query = {{"uploadId", uploadId}},
                            .headers = {"Content-Type: application/xml"},
                            .body = parts};
    constexpr int maxAttempts = 3;
    for (int attempt = 1; attempt <= maxAttempts; ++attempt) {
        S3Reply const reply = bucket->perform(request);
        if ((reply.status == 200 && isCompletion(reply.body)) || (reply.status == 404 && isStored()))
            return;
        if (reply.status != 200)
            break;
    }
    fail("the store does not complete an upload");
}

bool S3Draft::isStored()
{
    S3Reply const reply = bucket->perform({.method = "HEAD", .key = key});
    return reply.status == 200 && reply.length == written;
}

void S3Draft::assertStored()
{
    if (!isStored())
        fail("the store has not kept a recording with all of its bytes");
}

} // namespace zelvo::service
