#pragma once

#include "base/Clock.h"
#include "platform/ScreenSource.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace zelvo {

/// An H.264 video, High profile, in an MPEG-4 file that can play while it is still loading.
struct VideoSettings {
    std::filesystem::path file; ///< must not exist yet; its folder does
    int width = 0;              ///< pixels, even
    int height = 0;
    std::int64_t averageBitRate = 0; ///< bits per second
    int expectedFrameRate = 0;       ///< frames per second
    int maxKeyFrameInterval = 0;     ///< frames; an encoder adds no other key frames
};

/// The file can't be created. Agents never see it.
struct VideoFailure {
    std::string reason;
};

/// A video that is being written. Times start at its first frame. Thread: one at a time; blocks while it
/// encodes.
class VideoFile {
public:
    virtual ~VideoFile() = default;
    /// False while the last frame is still being encoded; drop frames that arrive then.
    virtual bool isReadyForMoreData() const = 0;
    /// The picture must have the video's size, and `time` must be later than all before. False if nothing
    /// more can be written.
    virtual bool append(Picture const& picture, Duration time) = 0;
    /// Appends the last picture again.
    virtual bool repeat(Duration time) = 0;
    /// Ends the last frame at `end` and closes the file. Call it also after a failed append, to keep the
    /// frames before. False if it failed; the part that was written stays on disk.
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
