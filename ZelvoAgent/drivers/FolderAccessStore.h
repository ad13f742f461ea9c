#pragma once

#include "base/Task.h"
#include "drivers/FileAccess.h"
#include "platform/FileSystem.h"
#include "platform/UserDefaults.h"

#include <string>
#include <vector>

namespace zelvo {

/// The stored list of folders that the person has granted to agents: absolute paths, in the order of
/// granting. The stored list is the only copy; a change applies to the next transfer. Thread: any; a
/// dedicated strand on the workers serializes changes.
class FolderAccessStore {
public:
    FolderAccessStore(Executor workers, UserDefaults& defaults, FileSystem& files, FileAccess& access);

    /// The roots for FileAccess: the stored folders that are absolute and exist. A stored list with anything
    /// but texts counts as empty. Blocks on the disk.
    static std::vector<std::string> roots(UserDefaults& defaults, FileSystem& files);

    /// All stored folders, including those that do not exist now.
    Task<std::vector<std::string>> list();
    /// Grants a folder, or a link to one. Resumes when the grant is in force and on disk. Changes nothing and
    /// returns false if the path is not absolute, is not an existing folder, is not UTF-8 (it could not be
    /// stored), or is "/" (nothing is inside it).
    Task<bool> add(std::string folder);
    /// Revokes a folder, by any spelling of its path. Resumes when no transfer can reach the folder any more
    /// and the list is on disk.
    Task<> remove(std::string folder);

private:
    static std::vector<std::string> stored(UserDefaults& defaults);
    bool addOnStrand(std::string const& folder);
    bool mayBeGranted(std::string const& folder);
    void removeOnStrand(std::string const& folder);
    Task<> putInForce();

    Executor const strand;
    UserDefaults& defaults;
    FileSystem& files;
    FileAccess& access;
};

} // namespace zelvo
