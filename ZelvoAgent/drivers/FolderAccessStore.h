#pragma once

#include "base/Task.h"
#include "drivers/FileAccess.h"
#include "platform/FileSystem.h"
#include "platform/UserDefaults.h"

#include <string>
#include <vector>

namespace zelvo {

/// The folders that the person has granted to agents, as they are stored: absolute paths in the order in
/// which they were granted. The stored list is the only copy; a change holds for the next transfer. Thread:
/// any; a strand of its own on the workers, so that changes cannot lose each other.
class FolderAccessStore {
public:
    FolderAccessStore(Executor workers, UserDefaults& defaults, FileSystem& files, FileAccess& access);

    /// The stored folders that count, as FileAccess takes them: those that are absolute and there. A list
    /// that holds anything but texts counts as empty. Looks at the disk.
    static std::vector<std::string> roots(UserDefaults& defaults, FileSystem& files);

    /// All that is stored, also what is not there now.
    Task<std::vector<std::string>> list();
    /// Grants a folder, or a link to one. Resumes when it is in force and on disk. False, with nothing
    /// changed, for what is no absolute path of a folder that is there, for a name that is not UTF-8 and
    /// can't be stored, and for "/", which would hold nothing.
    Task<bool> add(std::string folder);
    /// Takes a folder back, under whatever spelling of its path. Resumes when no transfer may reach it any
    /// more and the list is on disk.
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
