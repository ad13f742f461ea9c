#pragma once

#include "base/LockedBox.h"
#include "platform/VideoFile.h"
#include "platform/portable/video/VideoEncoder.h"

#include <optional>
#include <utility>

namespace zelvo {

/// The encoder of libavcodec for a candidate. Throws VideoFailure.
std::unique_ptr<VideoEncoder> openLibavEncoder(EncoderCandidate const& candidate,
                                               VideoSettings const& settings);

/// Videos by libavcodec and libavformat: with the first encoder that is present and fit, which is found out
/// once for each size, and again when it does not open any more. Making this object costs nothing.
class LibavVideoFiles final : public VideoFiles {
public:
    LibavVideoFiles() = default;
    /// Other encoders than libavcodec's.
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
