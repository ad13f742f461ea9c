#pragma once

#include "platform/portable/files/UniqueFd.h"

#include <filesystem>
#include <optional>
#include <string>

namespace zelvo {

/// The folder that holds this program, and the standby folder beside it: the next version before an exchange,
/// the version before it afterwards. Thread: any; blocks for the disk.
class ProgramFolder {
public:
    /// program  the program's file, in a folder that holds nothing else
    explicit ProgramFolder(std::filesystem::path program);

    std::filesystem::path const& program() const { return file; }
    std::filesystem::path const& standby() const { return spare; }
    std::filesystem::path standbyProgram() const { return spare / file.filename(); }

    /// The version that a folder's `Info.json` names; `nullopt` if it names none.
    std::optional<std::string> version() const { return versionIn(folder); }
    std::optional<std::string> standbyVersion() const { return versionIn(spare); }

    /// Throws UpdateAbort if an exchange is not permitted here, or would move files that are not ours.
    void assertExchangeable() const;
    bool isExchangeable() const;
    /// An empty standby folder; an earlier version in it is removed. Throws UpdateAbort.
    void makeStandby() const;
    /// Removes only what an archive holds.
    void removeStandby() const;
    /// Exchanges the two folders in one step. False, with errno set, if that failed; nothing changed then.
    bool exchange() const;

    /// Lets one process at a time update this folder, for the life of the result. Empty if another one does.
    UniqueFd lock() const;
    /// The same; throws UpdateAbort.
    UniqueFd assertLocked() const;

private:
    void assertFileSystem() const;
    static std::optional<std::string> versionIn(std::filesystem::path const& folder);

    std::filesystem::path file;
    std::filesystem::path folder;
    std::filesystem::path spare;
    std::filesystem::path probe; ///< exists for a moment
};

} // namespace zelvo
