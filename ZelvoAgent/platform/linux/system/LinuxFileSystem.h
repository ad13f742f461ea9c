#pragma once

#include "platform/FileSystem.h"
#include "platform/linux/system/FolderWalk.h"

#include <filesystem>

namespace zelvo {

/// The kernel's files. It walks to a granted folder from "/" and to a place from the granted folder's
/// descriptor; it opens or replaces the last name in the folder that it reached. So it meets a link that
/// somebody puts in the way, and never follows it. Mounted file systems are walked into. Thread: any.
class LinuxFileSystem final : public FileSystem {
public:
    /// home  our own home folder
    explicit LinuxFileSystem(std::filesystem::path home, FolderWalk walk = FolderWalk());

    std::optional<std::string> homeFolder(std::string const& user) override;
    std::string currentFolder() override;
    FileNode nodeAt(std::string const& path) override;
    std::unique_ptr<OpenFile> open(PlaceInFolder const& place) override;
    bool replace(PlaceInFolder const& place, std::string_view content, LinkThere link) override;

private:
    enum class Missing { fails, isMade };
    /// The folder of a place's last name; no descriptor if the place has changed.
    UniqueFd folderOf(PlaceInFolder const& place, Missing missing) const;

    std::filesystem::path const home;
    FolderWalk const walk;
};

} // namespace zelvo
