#include "platform/portable/video/EncoderProbe.h"

#include "platform/portable/video/LibavObjects.h"
#include "platform/portable/video/SequenceHeader.h"
#include "platform/portable/video/VideoTime.h"

#include <algorithm>
#include <cstring>

namespace zelvo {

namespace {

constexpr int probedFrames = 4;

/// Another grey for each frame, like a scene change.
void paint(AVFrame& frame, int number)
{
    for (int plane = 0; plane < 3 && frame.data[plane]; ++plane) {
        int const height = plane == 0 ? frame.height : frame.height / 2;
        std::memset(frame.data[plane], plane == 0 ? 40 + number * 50 : 128,
                    static_cast<std::size_t>(frame.linesize[plane]) * static_cast<std::size_t>(height));
    }
}

bool encodesWell(VideoEncoder& encoder, std::int64_t frameLength)
{
    int came = 0;
    bool inOrder = true;
    auto const take = [&](AVPacket& packet) {
        bool const isKey = packet.flags & AV_PKT_FLAG_KEY;
        inOrder = inOrder && packet.pts == came * frameLength && packet.dts == packet.pts &&
                  isKey == (came == 0) && packet.size > 0;
        ++came;
        return true;
    };
    for (int number = 0; number < probedFrames; ++number) {
        AVFrame* const frame = encoder.frame();
        if (!frame)
            return false;
        paint(*frame, number);
        // A buffered frame would be lost if we are killed.
        if (!encoder.encode(number * frameLength, take) || came != number + 1)
            return false;
    }
    return encoder.drain(take) && inOrder && came == probedFrames;
}

} // namespace

bool isFitEncoder(EncoderCandidate const& candidate, VideoSettings const& settings, OpenEncoder const& open)
{
    try {
        auto const encoder = open(candidate, settings);
        AVCodecParameters const& stream = encoder->stream();
        std::span<std::uint8_t const> const head(stream.extradata,
                                                 static_cast<std::size_t>(stream.extradata_size));
        return profileOf(head) == highProfile &&
               encodesWell(*encoder, videoTicksPerSecond / std::max(settings.expectedFrameRate, 1));
    } catch (VideoFailure const&) {
        return false;
    }
}

} // namespace zelvo
