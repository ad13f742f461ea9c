#include "platform/portable/updates/ProgramFolder.h"

#include "base/LocalizedTexts.h"
#include "platform/portable/files/Files.h"
#include "platform/portable/files/FolderExchange.h"
#include "platform/portable/files/StandbyFolder.h"
#include "platform/portable/settings/FileInformationDictionary.h"
#include "platform/portable/updates/ArchiveUnpacking.h"
#include "platform/portable/updates/UpdateFailures.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

bool isWritable(fs::path const& folder)
{
    return ::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

bool isOurs(fs::path const& name)
{
    return std::ranges::find(archivedFiles(), name.native()) != archivedFiles().end();
}

} // namespace

ProgramFolder::ProgramFolder(fs::path program)
    : file(std::move(program)), folder(file.parent_path()), spare(standbyFolderOf(folder)),
      probe(spare.string() + ".probe")
{
}

std::optional<std::string> ProgramFolder::versionIn(fs::path const& folder)
{
    return FileInformationDictionary(folder / "Info.json").text("CFBundleShortVersionString");
}

void ProgramFolder::assertExchangeable() const
{
    fs::path const parent = folder.parent_path();
    if (folder == parent || !isWritable(parent) || !isWritable(folder))
        throw UpdateAbort{.description = localized("update.error.folder", {parent.string()})};
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (fs::directory_iterator const end; !error && entry != end; entry.increment(error))
        if (!isOurs(entry->path().filename()))
            throw UpdateAbort{.description = localized("update.error.foreignFiles", {folder.string()})};
    if (error)
        throw UpdateAbort{.description = localized("update.error.folder", {folder.string()})};
}

bool ProgramFolder::isExchangeable() const
{
    try {
        assertExchangeable();
        return true;
    } catch (UpdateAbort const&) {
        return false;
    }
}

/// With the mode of the program's folder, but never writable for others.
void ProgramFolder::makeStandby() const
{
    removeStandby();
    struct stat facts{};
    constexpr mode_t maxMode = 0755;
    if (::stat(folder.c_str(), &facts) != 0 || ::mkdir(spare.c_str(), 0700) != 0 ||
        ::chmod(spare.c_str(), facts.st_mode & maxMode) != 0)
        throw updateDiskFailure();
    assertFileSystem();
}

/// Some network file systems cannot exchange names. At the program's end it would be too late to say so.
void ProgramFolder::assertFileSystem() const
{
    bool const works =
        ::mkdir(probe.c_str(), 0700) == 0 && exchangeFolders(probe, spare) && exchangeFolders(probe, spare);
    ::rmdir(probe.c_str());
    if (!works)
        throw UpdateAbort{.description =
                              localized("update.error.fileSystem", {folder.parent_path().string()})};
}

/// What a person has put there stays, and the folder with it.
void ProgramFolder::removeStandby() const
{
    for (std::string_view const name : archivedFiles())
        ::unlink((spare / name).c_str());
    ::rmdir(spare.c_str());
    ::rmdir(probe.c_str());
}

bool ProgramFolder::exchange() const
{
    if (!exchangeFolders(folder, spare))
        return false;
    files::syncFolder(folder.parent_path());
    return true;
}

/// The folder above stays where it is, and a lock on it leaves no file behind.
UniqueFd ProgramFolder::lock() const
{
    UniqueFd parent(::open(folder.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (parent && ::flock(parent.get(), LOCK_EX | LOCK_NB) != 0)
        parent.reset();
    return parent;
}

UniqueFd ProgramFolder::assertLocked() const
{
    UniqueFd held = lock();
    if (!held && errno == EWOULDBLOCK)
        throw updateFailure("update.error.busy");
    if (!held)
        throw UpdateAbort{.description = localized("update.error.folder", {folder.parent_path().string()})};
    return held;
}

} // namespace zelvo
