#include "platform/linux/system/LinuxFileSystem.h"

#include "platform/portable/files/FileBytes.h"
#include "platform/portable/files/TemporaryFile.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <vector>

namespace zelvo {

namespace {

/// Whether somebody may have moved things after the place was checked.
bool isChange(int reason)
{
    return reason == ELOOP || reason == ENOENT || reason == EXDEV || reason == EAGAIN;
}

/// For a failure that may be such a change: returns if the place must be checked again.
void throwUnlessChange(int reason)
{
    if (!isChange(reason))
        throw FileFailure(reason);
}

std::string_view nameIn(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

std::string folderIn(std::string_view path)
{
    std::size_t const slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string() : std::string(path.substr(0, slash));
}

/// The errno for something that is not a regular file; 0 for one.
int notRegular(mode_t mode)
{
    if (S_ISREG(mode))
        return 0;
    if (S_ISDIR(mode))
        return EISDIR;
    return S_ISLNK(mode) ? ELOOP : ENXIO;
}

class LinuxOpenFile final : public OpenFile {
public:
    LinuxOpenFile(UniqueFd file, std::uint64_t bytes) : file(std::move(file)), bytes(bytes) {}

    std::optional<std::uint64_t> size() override { return bytes; }

    std::string read(std::size_t atMost) override
    {
        std::string content;
        content.reserve(std::min<std::uint64_t>(bytes, atMost) + 1); // One more byte, to see the end.
        if (!files::readUpTo(file.get(), atMost, content))
            throw FileFailure(errno);
        return content;
    }

private:
    UniqueFd const file;
    std::uint64_t const bytes;
};

std::optional<std::string> linkTarget(std::string const& path)
{
    std::array<char, PATH_MAX> target;
    ssize_t const length = ::readlink(path.c_str(), target.data(), target.size());
    if (length < 0)
        return std::nullopt;
    return std::string(target.data(), static_cast<std::size_t>(length));
}

} // namespace

LinuxFileSystem::LinuxFileSystem(std::filesystem::path home,
                                 FolderWalk walk,
                                 std::vector<std::filesystem::path> ownFolders)
    : home(std::move(home)), walk(walk), privatePlaces(std::move(ownFolders))
{
}

std::optional<std::string> LinuxFileSystem::homeFolder(std::string const& user)
{
    if (user.empty())
        return home.native();
    struct passwd entry{};
    struct passwd* found = nullptr;
    std::vector<char> text(64u << 10);
    if (::getpwnam_r(user.c_str(), &entry, text.data(), text.size(), &found) != 0 || !found || !found->pw_dir)
        return std::nullopt;
    return std::string(found->pw_dir);
}

std::string LinuxFileSystem::currentFolder()
{
    std::error_code error;
    auto const folder = std::filesystem::current_path(error);
    return error ? "/" : folder.native();
}

FileNode LinuxFileSystem::nodeAt(std::string const& path)
{
    struct stat facts{};
    if (path.find('\0') != std::string::npos)
        return {};
    for (int tries = 0; tries < 8; ++tries) {
        if (::lstat(path.c_str(), &facts) != 0)
            return {};
        if (S_ISDIR(facts.st_mode))
            return {.kind = FileNode::Kind::folder, .target = {}};
        if (!S_ISLNK(facts.st_mode))
            return {.kind = FileNode::Kind::other, .target = {}};
        if (auto target = linkTarget(path))
            return {.kind = FileNode::Kind::link, .target = *std::move(target)};
        if (errno != EINVAL) // Otherwise it is no longer a link.
            return {};
    }
    return {};
}

/// The last folder on the way to a place that exists.
UniqueFd LinuxFileSystem::nearestFolder(PlaceInFolder const& place) const
{
    UniqueFd const top(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    std::string path = place.folder.substr(1);
    if (!path.empty() && !place.path.empty())
        path += '/';
    path = folderIn(path + place.path);
    UniqueFd found = walk.open(top.get(), path);
    while (!found && errno == ENOENT && !path.empty()) {
        path = folderIn(path);
        found = walk.open(top.get(), path);
    }
    return found;
}

UniqueFd LinuxFileSystem::folderOf(PlaceInFolder const& place, Missing missing) const
{
    auto const go = [&](int from, std::string const& relative) {
        return missing == Missing::isMade ? walk.openOrMake(from, relative) : walk.open(from, relative);
    };
    // Part by part the walk could reach a place that is too deep for any path.
    if (place.folder.size() + 1 + place.path.size() >= PATH_MAX)
        throw FileFailure(ENAMETOOLONG);
    UniqueFd const top(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!top)
        throw FileFailure(errno);
    // Not even a new folder is made in a private place.
    UniqueFd const nearest = missing == Missing::isMade ? nearestFolder(place) : UniqueFd();
    if (nearest && privatePlaces.hasFolder(nearest.get()))
        throw PrivatePlaceFailure();
    UniqueFd const granted = go(top.get(), place.folder.substr(1));
    UniqueFd folder = granted ? go(granted.get(), folderIn(place.path)) : UniqueFd();
    if (!folder)
        throwUnlessChange(errno);
    else if (privatePlaces.hasFolder(folder.get()))
        throw PrivatePlaceFailure();
    else if (place.path.empty())
        throw FileFailure(EISDIR);
    return folder;
}

std::unique_ptr<OpenFile> LinuxFileSystem::open(PlaceInFolder const& place)
{
    UniqueFd const folder = folderOf(place, Missing::fails);
    if (!folder)
        return nullptr;
    std::string const name(nameIn(place.path));
    struct stat facts{};
    // Opening a device can have side effects.
    int reason = ::fstatat(folder.get(), name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0
                     ? notRegular(facts.st_mode)
                     : errno;
    UniqueFd file;
    if (reason == 0) {
        constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
        file = UniqueFd(::openat(folder.get(), name.c_str(), flags));
        reason = file && ::fstat(file.get(), &facts) == 0 ? notRegular(facts.st_mode) : errno;
    }
    if (reason != 0) {
        throwUnlessChange(reason);
        return nullptr;
    }
    // Once more with the file open: its folder may have been moved meanwhile.
    if (privatePlaces.hasFile(file.get()) || privatePlaces.hasFolder(folder.get()))
        throw PrivatePlaceFailure();
    return std::make_unique<LinuxOpenFile>(std::move(file), static_cast<std::uint64_t>(facts.st_size));
}

bool LinuxFileSystem::replace(PlaceInFolder const& place, std::string_view content, LinkThere link)
{
    UniqueFd const folder = folderOf(place, Missing::isMade);
    if (!folder)
        return false;
    std::string const name(nameIn(place.path));
    struct stat old{};
    int const reason = ::fstatat(folder.get(), name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0
                           ? notRegular(old.st_mode)
                           : errno;
    if (reason == ELOOP && link == LinkThere::refused)
        return false;
    if (reason != 0 && !isChange(reason))
        throw FileFailure(reason);
    if (privatePlaces.hasName(folder.get(), name))
        throw PrivatePlaceFailure();
    bool const replaces = reason == 0;
    // Nobody may read a private file's new content before it has the old file's rights.
    TemporaryFile next(folder.get(), replaces ? 0600 : 0666);
    if (!next) {
        throwUnlessChange(errno); // The folder was removed.
        return false;
    }
    if (!next.write(content) || (replaces && !next.takeRights(name, old)) || !next.sync() ||
        !next.rename(name))
        throw FileFailure(errno);
    return true;
}

} // namespace zelvo
