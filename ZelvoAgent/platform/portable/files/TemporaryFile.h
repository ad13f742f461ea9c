#pragma once

#include "platform/portable/files/UniqueFd.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <string>
#include <string_view>

namespace zelvo {

/// A file in a folder that disappears with this object or the process, unless it replaces another file. It
/// has no name until then; on file systems without O_TMPFILE it has a hidden name, and a killed process
/// leaves it behind. Calls return false on failure, with errno set. Thread: one at a time.
class TemporaryFile {
public:
    /// folder  a descriptor, of any kind, that outlives this object
    /// mode    before the umask
    TemporaryFile(int folder, mode_t mode);
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;
    ~TemporaryFile();

    /// Whether it was created.
    explicit operator bool() const { return bool(file); }
    bool write(std::string_view content);
    /// For other kinds of writing; -1 if it was not created.
    int descriptor() const { return file.get(); }
    /// Copies the rights of an old file in the folder: its permission bits, group and access list. If the
    /// group or the list can't be copied, the group gets at most everybody's bits.
    bool takeRights(std::string const& old, struct stat const& facts);
    bool sync();
    /// Atomically replaces a file or link with that name in the folder.
    bool rename(std::string const& next);

private:
    bool takeGroup(gid_t group);
    bool takeAccessList(std::string const& old);
    bool giveName(std::string const& wanted);
    bool giveRandomName();

    int const folder;
    std::string name; // the hidden name, if any
    UniqueFd file;
};

} // namespace zelvo
