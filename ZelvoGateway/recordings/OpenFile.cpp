#include "ZelvoGateway/recordings/OpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

namespace zelvo::service {

std::shared_ptr<OpenFile const> OpenFile::open(std::filesystem::path const& path)
{
    int const number = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    return number < 0 ? nullptr : std::make_shared<OpenFile const>(number);
}

OpenFile::OpenFile(int number) : descriptor(number)
{
    struct stat status{};
    if (::fstat(number, &status) == 0 && S_ISREG(status.st_mode))
        bytes = static_cast<std::uint64_t>(status.st_size);
}

std::size_t OpenFile::read(std::uint64_t offset, std::span<char> room) const
{
    std::size_t done = 0;
    while (done < room.size()) {
        ssize_t const count = ::pread(descriptor.get(), room.data() + done, room.size() - done,
                                      static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw std::system_error(errno, std::generic_category(), "read a recording");
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

} // namespace zelvo::service
