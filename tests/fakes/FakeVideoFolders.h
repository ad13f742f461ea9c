#pragma once

#include "platform/VideoFolders.h"

#include <cerrno>
#include <map>
#include <set>

namespace zelvo {

/// Folders and files in memory.
class FakeVideoFolders final : public VideoFolders {
public:
    std::filesystem::path videos = "/home/me/Videos";
    std::map<std::filesystem::path, std::optional<Date>> stored; ///< files with their creation date
    std::set<std::filesystem::path> made;
    std::set<std::filesystem::path> unremovable;
    int makeFailure = 0; ///< errno
    bool isListable = true;
    bool everythingIsTaken = false;

    std::filesystem::path videosFolder() override { return videos; }
    void make(std::filesystem::path const& folder) override
    {
        if (makeFailure != 0)
            throw FileFailure(makeFailure);
        made.insert(folder);
    }
    std::vector<StoredFile> files(std::filesystem::path const& folder) override
    {
        std::vector<StoredFile> found;
        for (auto const& [path, created] : stored)
            if (isListable && path.parent_path() == folder)
                found.push_back({path, created});
        return found;
    }
    bool isTaken(std::filesystem::path const& file) override
    {
        return everythingIsTaken || stored.contains(file);
    }
    bool remove(std::filesystem::path const& file) override
    {
        return !unremovable.contains(file) && stored.erase(file) > 0;
    }
};

} // namespace zelvo
