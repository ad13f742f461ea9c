#pragma once

#include "platform/portable/files/UniqueFd.h"

#include <filesystem>
#include <functional>
#include <string>

namespace zelvo {

/// A video's file in its folder, identified by device and inode rather than by name: if another file has its
/// name, that file is never touched. Thread: one at a time.
class VideoFilePlace {
public:
    /// Creates the file with mode 0600; never opens an existing one. Throws VideoFailure.
    explicit VideoFilePlace(std::filesystem::path const& path);

    int file() const { return video.get(); }
    /// Atomically replaces the file with a temporary one of mode 0600, which `fill` writes and which is
    /// synced first. False on failure; the file is then unchanged.
    bool replace(std::function<bool(int file)> const& fill);
    void remove();

private:
    bool isInPlace() const;

    std::string name;
    UniqueFd folder;
    UniqueFd video;
};

} // namespace zelvo
