#pragma once

#include "platform/linux/applications/DesktopEntryIndex.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zelvo {

/// The "applications" folders of the XDG data path, the person's own first.
std::vector<std::filesystem::path> applicationFolders();

/// Whether a program stands for many applications: an interpreter, a launcher.
bool isInterpreter(std::filesystem::path const& program);

/// The program of an Exec line, links resolved: looked for on PATH, "env" and assignments before it skipped.
/// Empty when it is not found, or is an interpreter or launcher, which stands for many applications.
std::filesystem::path programOf(std::string const& commandLine);

/// The desktop entries of this machine, read again when a folder has changed.
/// Thread: any. A look costs a few calls of stat; reading all anew takes some milliseconds.
class DesktopEntries {
public:
    explicit DesktopEntries(std::vector<std::filesystem::path> folders = applicationFolders());

    std::shared_ptr<DesktopEntryIndex const> current();

private:
    struct FolderState {
        std::filesystem::path folder;
        std::int64_t changedNs = 0; ///< -1 when it does not exist
        bool operator==(FolderState const&) const = default;
    };
    static FolderState stateOf(std::filesystem::path const& folder);
    bool isFresh() const;
    void read();
    std::size_t placeOf(std::filesystem::path const& file) const;
    void readFolder(std::filesystem::path const& base,
                    std::filesystem::path const& folder,
                    std::map<std::string, DesktopEntry>& found,
                    int depth);

    std::vector<std::filesystem::path> folders;
    std::mutex lock;
    std::vector<FolderState> seen;                  // lock; with the folders inside
    std::shared_ptr<DesktopEntryIndex const> index; // lock
};

} // namespace zelvo
