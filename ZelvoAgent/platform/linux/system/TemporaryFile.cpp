#include "platform/linux/system/TemporaryFile.h"

#include "platform/linux/system/FileBytes.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>

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

} // namespace

TemporaryFile::TemporaryFile(int folder, mode_t mode) : folder(folder)
{
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

bool TemporaryFile::setMode(mode_t mode)
{
    return ::fchmod(file.get(), mode) == 0;
}

bool TemporaryFile::sync()
{
    return ::fsync(file.get()) == 0;
}

bool TemporaryFile::rename(std::string const& next)
{
    if (::renameat(folder, name.c_str(), folder, next.c_str()) != 0)
        return false;
    name.clear();
    return true;
}

} // namespace zelvo
