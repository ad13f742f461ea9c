#include "platform/portable/video/VideoFilePlace.h"

#include "platform/VideoFile.h"
#include "platform/portable/files/TemporaryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace zelvo {

namespace {

constexpr mode_t onlyOurs = 0600;

/// Without the path, which contains the user's and the platform's names.
[[noreturn]] void fail(std::string const& what, int error)
{
    throw VideoFailure{what + ": " + std::generic_category().message(error)};
}

} // namespace

VideoFilePlace::VideoFilePlace(std::filesystem::path const& path)
    : name(path.filename().string()),
      folder(::open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (!folder)
        fail("the video's folder", errno);
    video.reset(::openat(folder.get(), name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, onlyOurs));
    if (!video)
        fail("the video's file", errno);
}

bool VideoFilePlace::isInPlace() const
{
    struct stat ours{};
    struct stat there{};
    return ::fstat(video.get(), &ours) == 0 &&
           ::fstatat(folder.get(), name.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0 &&
           ours.st_dev == there.st_dev && ours.st_ino == there.st_ino;
}

bool VideoFilePlace::replace(std::function<bool(int file)> const& fill)
{
    if (!isInPlace())
        return false;
    TemporaryFile next(folder.get(), onlyOurs);
    if (!next || !fill(next.descriptor()) || !next.sync() || !isInPlace() || !next.rename(name))
        return false;
    ::fsync(folder.get());
    return true;
}

void VideoFilePlace::remove()
{
    if (isInPlace())
        ::unlinkat(folder.get(), name.c_str(), 0);
}

} // namespace zelvo
