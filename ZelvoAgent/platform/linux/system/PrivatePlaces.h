#pragma once

#include "platform/portable/files/UniqueFd.h"

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// The folders that agents may not reach whatever was granted: this program's own, and the data folders of
/// gateways. They are recognized by what they are (device and inode), so a link, a mount, another name or a
/// move changes nothing. A gateway's data folder may be anywhere, and carries marks (wire/PrivateMark.h).
/// Thread: any.
class PrivatePlaces {
public:
    /// folders  need not exist; links in their paths are followed at each call
    explicit PrivatePlaces(std::vector<std::filesystem::path> folders = {});

    /// Whether an open folder is private, or is inside of one. A folder whose parents can't be examined is.
    bool hasFolder(int folder) const;
    /// Whether an open file is one of the private files, by whatever name it was opened.
    bool hasFile(int file) const;
    /// The same for a name in an open folder.
    bool hasName(int folder, std::string const& name) const;

private:
    using Id = std::pair<dev_t, ino_t>;

    std::optional<std::set<Id>> folderIds() const;
    bool isPrivateFile(Id const& id) const;
    void hold(std::filesystem::path const& folder) const;

    std::vector<std::filesystem::path> const folders;
    mutable std::mutex lock;
    // Open, so that a folder that is moved away stays known and its inode is not used again.
    mutable std::map<Id, UniqueFd> held; // lock
};

} // namespace zelvo
