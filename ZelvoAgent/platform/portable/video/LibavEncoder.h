#pragma once

#include "platform/portable/video/LibavObjects.h"
#include "platform/portable/video/VideoEncoder.h"

namespace zelvo {

/// An encoder of libavcodec. It buffers no frame but the current one.
class LibavEncoder final : public VideoEncoder {
public:
    /// Throws VideoFailure.
    LibavEncoder(EncoderCandidate const& candidate, VideoSettings const& settings);

    AVCodecParameters const& stream() const override { return *parameters; }
    AVFrame* frame() override;
    bool encode(std::int64_t ticks, Taker const& take) override;
    bool drain(Taker const& take) override;

private:
    void set(EncoderCandidate const& candidate, VideoSettings const& settings);
    void openDevice(EncoderCandidate const& candidate);
    bool send(AVFrame const* given, Taker const& take);
    bool takeReady(Taker const& take);
    AvFramePtr uploaded();

    AvBufferPtr device;
    AvCodecPtr context;
    AvParametersPtr parameters;
    AvFramePtr held;
    AvPacketPtr packet;
};

} // namespace zelvo
