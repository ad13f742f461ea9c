#pragma once

#include "platform/portable/video/DescriptorIo.h"
#include "platform/portable/video/LibavObjects.h"

#include <cstdint>

namespace zelvo {

/// A video that is playable at any moment, even if we are killed: a fragmented MPEG-4 file, one fragment per
/// packet, in the file when write() returns. A fragment contains its start time, so only the last frame's
/// length is a guess. Thread: one at a time.
class GrowingVideo {
public:
    /// file         empty; outlives this object
    /// frameLength  assumed length of a frame, in video ticks
    /// Throws VideoFailure.
    GrowingVideo(int file, AVCodecParameters const& stream, std::int64_t frameLength);

    /// Times are in video ticks, at least `shortestFrame` after the previous packet. False if this or an
    /// earlier packet can't be written; the file then ends before it.
    bool write(AVPacket& packet);
    /// Adds the index of all fragments, which players do not require.
    bool close();

    std::int64_t packets() const { return written; }
    std::int64_t keyPackets() const { return writtenKeys; }

private:
    void writeHead();
    int announce(AVPacket const& packet);
    bool settle(int code);

    DescriptorIo io;
    AvOutputPtr muxer;
    AvPacketPtr empty;
    std::int64_t const frameLength;
    std::int64_t guessedEnd = 0; ///< of the last packet
    std::int64_t whole = 0;      ///< the length of the complete fragments
    std::int64_t written = 0;
    std::int64_t writtenKeys = 0;
    bool failed = false;
};

/// A container with one stream that writes through `io`. Throws VideoFailure.
AvOutputPtr openMuxer(DescriptorIo& io, AVCodecParameters const& stream);

} // namespace zelvo
