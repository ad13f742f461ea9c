#include "platform/linux/system/LinuxVideoFolders.h"

#include "platform/linux/system/AssignmentFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <system_error>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view homeVariable = "$HOME";

struct CloseFolder {
    void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};
using FolderPtr = std::unique_ptr<DIR, CloseFolder>;

std::optional<Date> creationDate(struct statx const& facts)
{
    if (!(facts.stx_mask & STATX_BTIME))
        return std::nullopt;
    // In Date's unit throughout: nanoseconds end in the year 2262.
    return Date(std::chrono::seconds(facts.stx_btime.tv_sec)) +
           std::chrono::microseconds(facts.stx_btime.tv_nsec / 1000);
}

/// `nullopt` unless it is a regular file.
std::optional<StoredFile> storedFile(DIR* folder, fs::path path)
{
    struct statx facts{};
    std::string const name = path.filename().string();
    if (::statx(::dirfd(folder), name.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE | STATX_BTIME, &facts) != 0 ||
        !S_ISREG(facts.stx_mode))
        return std::nullopt;
    return StoredFile{std::move(path), creationDate(facts)};
}

} // namespace

LinuxVideoFolders::LinuxVideoFolders(fs::path configHome, fs::path home)
    : configHome(std::move(configHome)), home(std::move(home))
{
}

fs::path LinuxVideoFolders::videosFolder()
{
    std::string const named = assignedValueIn(configHome / "user-dirs.dirs", "XDG_VIDEOS_DIR").value_or("");
    if (named.starts_with('/'))
        return named;
    if (named == homeVariable)
        return home;
    if (named.starts_with(std::string(homeVariable) + "/"))
        return home / fs::path(named.substr(homeVariable.size() + 1)).relative_path();
    return home / "Videos";
}

void LinuxVideoFolders::make(fs::path const& folder)
{
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        throw FileFailure(error.value());
    if (!fs::is_directory(folder, error)) // It may be a file, in which case nothing was made.
        throw FileFailure(ENOTDIR);
}

std::vector<StoredFile> LinuxVideoFolders::files(fs::path const& folder)
{
    std::vector<StoredFile> found;
    FolderPtr const open(::opendir(folder.c_str()));
    if (!open)
        return found;
    while (dirent const* const entry = ::readdir(open.get())) {
        if (entry->d_name[0] == '.')
            continue;
        if (auto file = storedFile(open.get(), folder / entry->d_name))
            found.push_back(*std::move(file));
    }
    return found;
}

bool LinuxVideoFolders::isTaken(fs::path const& file)
{
    struct stat facts{};
    return ::lstat(file.c_str(), &facts) == 0 || errno != ENOENT;
}

bool LinuxVideoFolders::remove(fs::path const& file)
{
    return ::unlink(file.c_str()) == 0;
}

} // namespace zelvo
