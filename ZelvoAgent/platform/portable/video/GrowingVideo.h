#pragma once

#include "platform/portable/video/DescriptorIo.h"
#include "platform/portable/video/LibavObjects.h"

#include <cstdint>

namespace zelvo {

/// A video that can be played at any moment, also when we are killed: an MPEG-4 file of fragments, each
/// packet one of its own that is in the file when write() returns. A fragment says when it begins, so only
/// the length of the last frame is a guess. Thread: one at a time.
class GrowingVideo {
public:
    /// file: empty, outlives this object. frameLength: in video ticks, what a frame is taken to last. Throws
    /// VideoFailure.
    GrowingVideo(int file, AVCodecParameters const& stream, std::int64_t frameLength);

    /// Its times are in video ticks, at least `shortestFrame` after the one before. False when it can't be
    /// written, now or before; then it is as if it had never been given.
    bool write(AVPacket& packet);
    /// Adds the index of all fragments, which a player can do without.
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
    std::int64_t guessedEnd = 0; ///< of what was written last
    std::int64_t whole = 0;      ///< the length of what is complete
    std::int64_t written = 0;
    std::int64_t writtenKeys = 0;
    bool failed = false;
};

/// A stream of its own in a container that writes through `io`. Throws VideoFailure.
AvOutputPtr openMuxer(DescriptorIo& io, AVCodecParameters const& stream);

} // namespace zelvo
