#pragma once

#include "platform/portable/video/LibavEncoder.h"
#include "platform/portable/video/LibavObjects.h"
#include "platform/portable/video/VideoEncoder.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

namespace zelvo::test {

/// Faults that a fake encoder adds to a real one.
struct EncoderFaults {
    int failsAtCall = -1;                                  ///< counted from 0, over all calls except stream()
    std::function<void(AVPacket&)> spoils = {};            ///< changes each packet
    std::function<void(AVCodecParameters&)> misnames = {}; ///< changes the reported parameters
    bool holdsBack = false;                                ///< keeps all packets until drain()
};

/// An encoder of libavcodec with faults.
class FakeEncoder final : public VideoEncoder {
public:
    FakeEncoder(std::unique_ptr<VideoEncoder> real, EncoderFaults given)
        : real(std::move(real)), faults(std::move(given)), told(avcodec_parameters_alloc())
    {
        avcodec_parameters_copy(told.get(), &this->real->stream());
        if (faults.misnames)
            faults.misnames(*told);
    }

    AVCodecParameters const& stream() const override { return *told; }
    AVFrame* frame() override { return fails() ? nullptr : real->frame(); }
    bool encode(std::int64_t ticks, Taker const& take) override
    {
        return !fails() && real->encode(ticks, spoiling(take));
    }
    bool drain(Taker const& take) override
    {
        if (fails() || !real->drain(spoiling(take)))
            return false;
        return std::ranges::all_of(held, [&](AvPacketPtr const& packet) { return take(*packet); });
    }

private:
    bool fails() { return calls++ == faults.failsAtCall; }

    Taker spoiling(Taker const& take)
    {
        return [this, &take](AVPacket& packet) {
            if (faults.spoils)
                faults.spoils(packet);
            if (!faults.holdsBack)
                return take(packet);
            held.emplace_back(av_packet_clone(&packet));
            return true;
        };
    }

    std::unique_ptr<VideoEncoder> real;
    EncoderFaults faults;
    AvParametersPtr told;
    std::vector<AvPacketPtr> held;
    int calls = 0;
};

inline OpenEncoder withFaults(EncoderFaults faults)
{
    return [faults = std::move(faults)](EncoderCandidate const& candidate, VideoSettings const& settings) {
        return std::make_unique<FakeEncoder>(std::make_unique<LibavEncoder>(candidate, settings), faults);
    };
}

} // namespace zelvo::test
