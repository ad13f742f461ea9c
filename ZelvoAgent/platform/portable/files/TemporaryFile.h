#pragma once

#include "platform/portable/files/UniqueFd.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <string>
#include <string_view>

namespace zelvo {

/// A file in a folder that is gone with this object, or with the process, unless it took its place. It has no
/// name until then; where the file system can't do that it has a hidden one, which a killed process leaves
/// behind. All calls tell failure by false with errno set. Thread: one at a time.
class TemporaryFile {
public:
    /// folder  a descriptor, of any kind, that outlives this object
    /// mode    less what the umask takes
    TemporaryFile(int folder, mode_t mode);
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;
    ~TemporaryFile();

    /// Was it made?
    explicit operator bool() const { return bool(file); }
    bool write(std::string_view content);
    /// For writing in another way; -1 when it was not made.
    int descriptor() const { return file.get(); }
    /// Takes over what an old file in the folder lets others do: its permission bits, group and access list.
    /// Where one of the two can't be taken over, the group's bits are at most those of everybody.
    bool takeRights(std::string const& old, struct stat const& facts);
    bool sync();
    /// Takes the place of a file or a link of that name in the folder, in one step.
    bool rename(std::string const& next);

private:
    bool takeGroup(gid_t group);
    bool takeAccessList(std::string const& old);
    bool giveName(std::string const& wanted);
    bool giveRandomName();

    int const folder;
    std::string name; // the hidden one; empty without one
    UniqueFd file;
};

} // namespace zelvo
