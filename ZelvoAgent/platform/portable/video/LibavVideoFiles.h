#pragma once

#include "base/LockedBox.h"
#include "platform/VideoFile.h"
#include "platform/portable/video/VideoEncoder.h"

#include <optional>
#include <utility>

namespace zelvo {

/// The libavcodec encoder for a candidate. Throws VideoFailure.
std::unique_ptr<VideoEncoder> openLibavEncoder(EncoderCandidate const& candidate,
                                               VideoSettings const& settings);

/// Videos written with libavcodec and libavformat. They use the first encoder that is present and fit; that
/// is determined once per size, and again if the encoder no longer opens. Creating this object costs nothing.
class LibavVideoFiles final : public VideoFiles {
public:
    LibavVideoFiles() = default;
    /// For encoders other than libavcodec's.
    explicit LibavVideoFiles(OpenEncoder open);

    std::unique_ptr<VideoFile> create(VideoSettings settings) override;

private:
    struct Chosen {
        std::pair<int, int> size;
        EncoderCandidate encoder;
    };

    std::unique_ptr<VideoEncoder> encoderFor(VideoSettings const& settings);

    OpenEncoder open = openLibavEncoder;
    LockedBox<std::optional<Chosen>> chosen;
};

} // namespace zelvo
