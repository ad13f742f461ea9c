#pragma once

#include "platform/FileSystem.h"
#include "platform/linux/system/FolderWalk.h"
#include "platform/linux/system/PrivatePlaces.h"

#include <filesystem>

namespace zelvo {

/// The kernel's files. It walks to a granted folder from "/" and to a place from the granted folder's
/// descriptor; it opens or replaces the last name in the folder that it reached. So it meets a link that
/// somebody puts in the way, and never follows it. Mounted file systems are walked into. What it reached is
/// checked against the private places before it is used. Thread: any.
class LinuxFileSystem final : public FileSystem {
public:
    /// home       our own home folder
    /// ownFolders folders that agents may not reach, beside the data folders of gateways
    explicit LinuxFileSystem(std::filesystem::path home,
                             FolderWalk walk = FolderWalk(),
                             std::vector<std::filesystem::path> ownFolders = {});

    std::optional<std::string> homeFolder(std::string const& user) override;
    std::string currentFolder() override;
    FileNode nodeAt(std::string const& path) override;
    std::unique_ptr<OpenFile> open(PlaceInFolder const& place) override;
    bool replace(PlaceInFolder const& place, std::string_view content, LinkThere link) override;

private:
    enum class Missing { fails, isMade };
    /// The folder of a place's last name; no descriptor if the place has changed.
    UniqueFd folderOf(PlaceInFolder const& place, Missing missing) const;

    UniqueFd nearestFolder(PlaceInFolder const& place) const;

    std::filesystem::path const home;
    FolderWalk const walk;
    PrivatePlaces const privatePlaces;
};

} // namespace zelvo
