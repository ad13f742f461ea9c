#pragma once

#include "platform/VideoFile.h"
#include "platform/portable/video/GrowingVideo.h"
#include "platform/portable/video/VideoEncoder.h"
#include "platform/portable/video/VideoFilePlace.h"
#include "platform/portable/video/VideoTime.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace zelvo {

/// A video in the making by libavcodec and libavformat. While it grows it is a file of fragments, each frame
/// in it as soon as append() has returned: killed at any moment, or with the disk full, it plays up to there.
/// finish() rewrites it as a plain file with the index in front.
class LibavVideoFile final : public VideoFile {
public:
    /// Makes the file. Throws VideoFailure.
    LibavVideoFile(VideoSettings const& settings, std::unique_ptr<VideoEncoder> given);
    /// What is not finished stays as it is.
    ~LibavVideoFile() override;

    /// Every append is done when it returns, so always until one fails.
    bool isReadyForMoreData() const override { return !failed; }
    bool append(Picture const& picture, Duration time) override;
    bool repeat(Duration time) override;
    /// True when the file is a plain video on the disk: the index in front, in it every frame for which
    /// append() or repeat() said true, and as long as from the first frame to `end`. False when there was no
    /// room or no right to rewrite it, or somebody has moved or removed it: then what grew stays, playable.
    /// Without a frame the file goes and the answer is false. Takes as long as copying the video.
    bool finish(Duration end) override;
    void cancel() override;

private:
    void repeatUntil(Duration time);
    bool encode(std::int64_t ticks);
    std::int64_t ticksSinceFirst(Duration time) const;

    VideoFilePlace place;
    std::unique_ptr<VideoEncoder> encoder;
    VideoEncoder::Taker keep;
    std::optional<GrowingVideo> video; ///< nothing once it is closed
    std::optional<Duration> first;
    std::int64_t last = -shortestFrame; ///< video ticks
    std::int64_t accepted = 0;
    bool failed = false;
};

} // namespace zelvo
