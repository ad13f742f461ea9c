#pragma once

#include "base/Clock.h"
#include "platform/ScreenSource.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace zelvo {

/// An H.264 video, High profile, in an MPEG-4 file that plays while it is still being loaded.
struct VideoSettings {
    std::filesystem::path file; ///< must not exist yet; its folder does
    int width = 0;              ///< pixels, even
    int height = 0;
    std::int64_t averageBitRate = 0; ///< bits a second
    int expectedFrameRate = 0;       ///< frames a second
    int maxKeyFrameInterval = 0;     ///< frames; there are no key frames beside those
};

/// The file can't be made. Reaches no agent.
struct VideoFailure {
    std::string reason;
};

/// One video in the making. Times count from its first frame. Thread: one at a time; blocks while it encodes.
class VideoFile {
public:
    virtual ~VideoFile() = default;
    /// False while what was given last is still being worked on; a frame that comes then is to be shed.
    virtual bool isReadyForMoreData() const = 0;
    /// False when nothing more can be written. time: later than all before. The picture has the video's size.
    virtual bool append(Picture const& picture, Duration time) = 0;
    /// The picture before, once more.
    virtual bool repeat(Duration time) = 0;
    /// Ends the last frame at that time and closes the file. False when that failed: then what could be
    /// written stays where it is. Also after an append that failed, to keep what came before it.
    virtual bool finish(Duration end) = 0;
    /// Closes and removes the file.
    virtual void cancel() = 0;
};

/// Thread: any. Made by: platform/portable/video/LibavVideoFiles, tests/fakes/FakeVideoFiles.
class VideoFiles {
public:
    virtual ~VideoFiles() = default;
    /// Makes the file. Throws VideoFailure. Blocks.
    virtual std::unique_ptr<VideoFile> create(VideoSettings settings) = 0;
};

} // namespace zelvo
