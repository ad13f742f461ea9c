#pragma once

#include "platform/VideoFolders.h"

namespace zelvo {

/// The videos folder of the XDG rules, and ordinary files.
class LinuxVideoFolders final : public VideoFolders {
public:
    /// configHome  the folder of user-dirs.dirs; home  the person's home folder
    LinuxVideoFolders(std::filesystem::path configHome, std::filesystem::path home);

    /// XDG_VIDEOS_DIR of user-dirs.dirs, read anew each time; without one, or with one that is neither
    /// absolute nor below $HOME, "Videos" in the home folder.
    std::filesystem::path videosFolder() override;
    void make(std::filesystem::path const& folder) override;
    std::vector<StoredFile> files(std::filesystem::path const& folder) override;
    bool isTaken(std::filesystem::path const& file) override;
    bool remove(std::filesystem::path const& file) override;

private:
    std::filesystem::path const configHome;
    std::filesystem::path const home;
};

} // namespace zelvo
