#include "platform/portable/files/FileBytes.h"
#include "platform/portable/files/TemporaryFile.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>

namespace zelvo {

namespace {

std::string randomName()
{
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != ssize_t{sizeof number})
        return {};
    std::string digits(16, '0');
    std::snprintf(digits.data(), digits.size() + 1, "%016llx", static_cast<unsigned long long>(number));
    return ".zelvo-" + digits + ".part";
}

/// A path to an open file, for linkat.
std::string pathOf(int file)
{
    return "/proc/self/fd/" + std::to_string(file);
}

/// No descriptor if the file system or a sandbox does not support it.
UniqueFd openNameless(int folder, mode_t mode)
{
    UniqueFd file(::openat(folder, ".", O_WRONLY | O_TMPFILE | O_CLOEXEC, mode));
    bool const canBeNamed = file && ::access(pathOf(file.get()).c_str(), F_OK) == 0;
    return canBeNamed ? std::move(file) : UniqueFd();
}

} // namespace

TemporaryFile::TemporaryFile(int folder, mode_t mode) : folder(folder), file(openNameless(folder, mode))
{
    if (file)
        return;
    do {
        name = randomName();
        file = UniqueFd(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    } while (!file && errno == EEXIST);
}

TemporaryFile::~TemporaryFile()
{
    if (!file || name.empty())
        return;
    int const reason = errno;
    ::unlinkat(folder, name.c_str(), 0);
    errno = reason;
}

bool TemporaryFile::write(std::string_view content)
{
    return files::writeAll(file.get(), content);
}

bool TemporaryFile::takeRights(std::string const& old, struct stat const& facts)
{
    mode_t mode = facts.st_mode & 0777;
    if (!takeGroup(facts.st_gid) || !takeAccessList(old))
        mode &= ~mode_t{070} | (mode & 07) << 3;
    return ::fchmod(file.get(), mode) == 0;
}

bool TemporaryFile::takeGroup(gid_t group)
{
    struct stat ours{};
    return (::fstat(file.get(), &ours) == 0 && ours.st_gid == group) ||
           ::fchown(file.get(), uid_t(-1), group) == 0;
}

/// With an access list, the group's permission bits are its mask. True if there is no list.
bool TemporaryFile::takeAccessList(std::string const& old)
{
    constexpr char const* key = "system.posix_acl_access";
    std::array<char, 4096> list;
    std::string const path = pathOf(folder) + "/" + old;
    ssize_t const length = ::lgetxattr(path.c_str(), key, list.data(), list.size());
    if (length < 0)
        return errno == ENODATA || errno == EOPNOTSUPP;
    return ::fsetxattr(file.get(), key, list.data(), static_cast<std::size_t>(length), 0) == 0;
}

bool TemporaryFile::sync()
{
    return ::fsync(file.get()) == 0;
}

bool TemporaryFile::giveName(std::string const& wanted)
{
    return ::linkat(AT_FDCWD, pathOf(file.get()).c_str(), folder, wanted.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

/// For the moment before it replaces another file, because rename() needs a name.
bool TemporaryFile::giveRandomName()
{
    std::string random;
    do {
        random = randomName();
        if (giveName(random)) {
            name = std::move(random);
            return true;
        }
    } while (errno == EEXIST);
    return false;
}

bool TemporaryFile::rename(std::string const& next)
{
    if (name.empty()) {
        if (giveName(next))
            return true;
        if (errno != EEXIST || !giveRandomName())
            return false;
    }
    if (::renameat(folder, name.c_str(), folder, next.c_str()) != 0)
        return false;
    name.clear();
    return true;
}

} // namespace zelvo
