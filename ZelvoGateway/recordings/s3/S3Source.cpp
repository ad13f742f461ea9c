#include "ZelvoGateway/recordings/s3/S3Source.h"

#include <algorithm>

namespace zelvo::service {

S3Source::S3Source(std::shared_ptr<S3Bucket> bucket, std::string key, std::string tag, std::uint64_t bytes)
    : bucket(std::move(bucket)), key(std::move(key)), tag(std::move(tag)), bytes(bytes)
{
}

std::size_t S3Source::read(std::uint64_t offset, std::span<char> room) const
{
    if (offset >= bytes || room.empty())
        return 0;
    if (std::size_t const count = copyHeld(offset, room))
        return count;
    std::string piece = fetched(offset, std::max(room.size(), window));
    std::size_t const count = piece.copy(room.data(), room.size());
    std::scoped_lock const guard(lock);
    held = std::move(piece);
    heldFrom = offset;
    return count;
}

/// All that is wanted, up to the end of the object, or nothing: ByteSource fills the room.
std::size_t S3Source::copyHeld(std::uint64_t offset, std::span<char> room) const
{
    std::scoped_lock const guard(lock);
    std::uint64_t const wanted = std::min<std::uint64_t>(room.size(), bytes - offset);
    if (offset < heldFrom || offset + wanted > heldFrom + held.size())
        return 0;
    return held.copy(room.data(), wanted, offset - heldFrom);
}

std::string S3Source::fetched(std::uint64_t offset, std::size_t count) const
{
    std::uint64_t const length = std::min<std::uint64_t>(count, bytes - offset);
    std::string const range = std::to_string(offset) + "-" + std::to_string(offset + length - 1);
    S3Request request{.key = key, .range = range, .maxAnswer = std::max<std::size_t>(length, 64 << 10)};
    if (!tag.empty())
        request.headers.push_back("If-Match: " + tag);
    S3Reply reply = bucket->perform(request);
    if (reply.status == 404)
        throw RecordingFilesError(bucket->name() + ": a recording was removed while it was read");
    if (reply.status != 206 || reply.body.size() != length ||
        reply.range != "bytes " + range + "/" + std::to_string(bytes))
        throw RecordingFilesError(bucket->name() + ": a recording changed while it was read (status " +
                                  std::to_string(reply.status) + ")");
    return std::move(reply.body);
}

} // namespace zelvo::service
