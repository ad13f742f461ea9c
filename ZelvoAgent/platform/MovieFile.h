#pragma once

#include "base/Clock.h"
#include "platform/ScreenSource.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace zelvo {

/// An H.264 film, High profile, in an MPEG-4 file that plays while it is still being loaded.
struct MovieSettings {
    std::filesystem::path file; ///< must not exist yet; its folder does
    int width = 0;              ///< pixels, even
    int height = 0;
    std::int64_t averageBitRate = 0; ///< bits a second
    int expectedFrameRate = 0;       ///< frames a second
    int maxKeyFrameInterval = 0;     ///< frames; there are no key frames beside those
};

/// The file can't be made. Reaches no agent.
struct MovieFailure {
    std::string reason;
};

/// One film in the making. Times count from its first frame. Thread: one at a time; blocks while it encodes.
class MovieFile {
public:
    virtual ~MovieFile() = default;
    /// False while what was given last is still being worked on; a frame that comes then is to be shed.
    virtual bool isReadyForMoreData() const = 0;
    /// False when nothing more can be written. time: later than all before. The picture has the film's size.
    virtual bool append(Picture const& picture, Duration time) = 0;
    /// The picture before, once more.
    virtual bool repeat(Duration time) = 0;
    /// Ends the last frame at that time and closes the file. False when that failed: then what could be
    /// written stays where it is. Also after an append that failed, to keep what came before it.
    virtual bool finish(Duration end) = 0;
    /// Closes and removes the file.
    virtual void cancel() = 0;
};

/// Thread: any. Made by: platform/linux/movie/LibavMovies, tests/fakes/FakeMovies.
class MovieFiles {
public:
    virtual ~MovieFiles() = default;
    /// Makes the file. Throws MovieFailure. Blocks.
    virtual std::unique_ptr<MovieFile> create(MovieSettings settings) = 0;
};

} // namespace zelvo
