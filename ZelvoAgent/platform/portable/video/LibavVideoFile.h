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

/// A video written with libavcodec and libavformat. While it grows it is a fragmented file that contains each
/// frame once append() has returned: if the program is killed or the disk is full, it plays up to there.
/// finish() rewrites it as a plain file with the index in front.
class LibavVideoFile final : public VideoFile {
public:
    /// Creates the file. Throws VideoFailure.
    LibavVideoFile(VideoSettings const& settings, std::unique_ptr<VideoEncoder> given);
    /// An unfinished file stays as it is.
    ~LibavVideoFile() override;

    /// append() does all its work before it returns, so this is true until one fails.
    bool isReadyForMoreData() const override { return !failed; }
    bool append(Picture const& picture, Duration time) override;
    bool repeat(Duration time) override;
    /// True if the file is now a plain video on disk: the index in front, every frame that append() or
    /// repeat() accepted, and as long as from the first frame to `end`. False if it can't be rewritten for
    /// lack of space or rights, or was moved or removed: the fragmented file then stays, playable. Without a
    /// frame, removes the file and returns false. Takes as long as copying the video.
    bool finish(Duration end) override;
    void cancel() override;

private:
    void repeatUntil(Duration time);
    bool encode(std::int64_t ticks);
    std::int64_t ticksSinceFirst(Duration time) const;

    VideoFilePlace place;
    std::unique_ptr<VideoEncoder> encoder;
    VideoEncoder::Taker keep;
    std::optional<GrowingVideo> video; ///< empty once it is closed
    std::optional<Duration> first;
    std::int64_t last = -shortestFrame; ///< video ticks
    std::int64_t accepted = 0;
    bool failed = false;
};

} // namespace zelvo
