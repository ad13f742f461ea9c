#pragma once

#include "platform/FileSystem.h"
#include "platform/linux/system/FolderWalk.h"

#include <filesystem>

namespace zelvo {

/// The files as the kernel has them. A folder that is granted is walked to from "/", a place from the
/// granted folder's descriptor; the last name is opened, or replaced, in the folder that was reached. So a
/// link that is put in the way is met and never followed. Mounted file systems are walked into.
/// Thread: any.
class LinuxFileSystem final : public FileSystem {
public:
    /// home  our own home folder
    explicit LinuxFileSystem(std::filesystem::path home, FolderWalk walk = FolderWalk());

    std::optional<std::string> homeFolder(std::string const& user) override;
    std::string currentFolder() override;
    FileNode look(std::string const& path) override;
    std::unique_ptr<OpenFile> open(PlaceInFolder const& place) override;
    bool replace(PlaceInFolder const& place, std::string_view content, LinkThere link) override;

private:
    enum class Missing { fails, isMade };
    /// Of the last name of a place; no descriptor when the place isn't what it was.
    UniqueFd folderOf(PlaceInFolder const& place, Missing missing) const;

    std::filesystem::path const home;
    FolderWalk const walk;
};

} // namespace zelvo
