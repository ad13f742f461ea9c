#pragma once

#include "platform/VideoFile.h"
#include "platform/portable/video/EncoderChoice.h"

#include <functional>
#include <memory>

struct AVCodecParameters;
struct AVFrame;
struct AVPacket;

namespace zelvo {

/// Encodes frames as H.264. Thread: one at a time; blocks while it encodes.
/// Made by: LibavEncoder and test fakes.
class VideoEncoder {
public:
    /// Receives a finished packet, its times in video ticks; returns false if it could not be stored.
    using Taker = std::function<bool(AVPacket& packet)>;

    virtual ~VideoEncoder() = default;
    /// The stream parameters for a container.
    virtual AVCodecParameters const& stream() const = 0;
    /// A frame of the video's size in the encoder's format, to fill and pass to encode(). Null if there is no
    /// memory. It keeps its last content.
    virtual AVFrame* frame() = 0;
    /// Encodes frame() at a time in video ticks, later than all before. False if encoding or taking failed;
    /// do not call it again then.
    virtual bool encode(std::int64_t ticks, Taker const& take) = 0;
    /// Encodes what is still buffered. Call it once, at the end.
    virtual bool drain(Taker const& take) = 0;
};

/// Throws VideoFailure.
using OpenEncoder = std::function<std::unique_ptr<VideoEncoder>(EncoderCandidate const& candidate,
                                                                VideoSettings const& settings)>;

} // namespace zelvo
