#pragma once

#include "platform/portable/files/UniqueFd.h"

#include <filesystem>
#include <functional>
#include <string>

namespace zelvo {

/// A video's file in its folder. It is followed by what it is, not by its name: what somebody has moved away,
/// removed or put in its place is never touched. Thread: one at a time.
class VideoFilePlace {
public:
    /// Makes the file, of mode 0600; never takes one that is there. Throws VideoFailure.
    explicit VideoFilePlace(std::filesystem::path const& path);

    int file() const { return video.get(); }
    /// Lets another file, of mode 0600, take its place in one step: a temporary one beside it, filled by
    /// `fill`, and on disk before. False when that failed; then the file is as it was.
    bool replace(std::function<bool(int file)> const& fill);
    void remove();

private:
    bool isInPlace() const;

    std::string name;
    UniqueFd folder;
    UniqueFd video;
};

} // namespace zelvo
