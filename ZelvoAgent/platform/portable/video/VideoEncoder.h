#pragma once

#include "platform/VideoFile.h"
#include "platform/portable/video/EncoderChoice.h"

#include <functional>
#include <memory>

struct AVCodecParameters;
struct AVFrame;
struct AVPacket;

namespace zelvo {

/// Makes H.264 of frames. Thread: one at a time; blocks while it works.
/// Made by: LibavEncoder, and by tests.
class VideoEncoder {
public:
    /// Takes a packet that is ready, its times in video ticks; false when it could not be kept.
    using Taker = std::function<bool(AVPacket& packet)>;

    virtual ~VideoEncoder() = default;
    /// What a container has to know of the stream.
    virtual AVCodecParameters const& stream() const = 0;
    /// A frame of the video's size in the layout that the encoder takes, to be filled and given to encode().
    /// Null when there is no memory. It keeps what was in it.
    virtual AVFrame* frame() = 0;
    /// Encodes what frame() holds, at a time in video ticks later than all before. False when that or taking
    /// failed; then no further call makes sense.
    virtual bool encode(std::int64_t ticks, Taker const& take) = 0;
    /// Brings out what is still inside. Once, at the end.
    virtual bool drain(Taker const& take) = 0;
};

/// Throws VideoFailure.
using OpenEncoder = std::function<std::unique_ptr<VideoEncoder>(EncoderCandidate const& candidate,
                                                                VideoSettings const& settings)>;

} // namespace zelvo
