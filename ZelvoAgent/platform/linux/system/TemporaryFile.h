#pragma once

#include "platform/linux/system/UniqueFd.h"

#include <sys/types.h>

#include <string>
#include <string_view>

namespace zelvo {

/// A hidden file of a name that nothing else has, in a folder; gone with this object unless it took another's
/// place. All calls tell failure by false with errno set. Thread: one at a time.
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
    bool setMode(mode_t mode);
    bool sync();
    /// Takes the place of a file or a link of that name in the folder, in one step.
    bool rename(std::string const& name);

private:
    int const folder;
    std::string name; // empty once it has another
    UniqueFd file;
};

} // namespace zelvo
