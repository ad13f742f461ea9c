#include "platform/portable/net/UploadFile.h"

#include "platform/WebSocket.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace zelvo {

namespace {

NetworkFailure unusable(std::string why)
{
    return {NetworkFailure::Kind::other, std::move(why)};
}

std::string systemWords()
{
    return std::generic_category().message(errno);
}

} // namespace

UploadFile::UploadFile(std::filesystem::path const& path, std::int64_t bytes) : bytes(bytes)
{
    // O_NONBLOCK: a pipe with that name would block until it has a writer.
    file = UniqueFd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat facts{};
    if (!file || ::fstat(file.get(), &facts) != 0)
        throw unusable("the file can't be opened: " + systemWords());
    if (!S_ISREG(facts.st_mode))
        throw unusable("it is no file");
    if (facts.st_size != bytes)
        throw unusable("the file is not of the size that was told");
}

std::optional<std::size_t> UploadFile::read(char* to, std::size_t room)
{
    std::size_t const wanted = std::min<std::size_t>(room, static_cast<std::size_t>(bytes - given));
    if (wanted == 0)
        return 0;
    ssize_t count = 0;
    do
        count = ::read(file.get(), to, wanted);
    while (count < 0 && errno == EINTR);
    if (count < 0) {
        reason = "the file can't be read: " + systemWords();
        return std::nullopt;
    }
    given += count;
    // If the file changed, keep its last bytes back, or the server would accept a mixture as complete.
    if (count == 0 || (isAtEnd() && !keepsItsSize())) {
        reason = "the file changed while it went out";
        return std::nullopt;
    }
    return static_cast<std::size_t>(count);
}

bool UploadFile::keepsItsSize() const
{
    struct stat facts{};
    return ::fstat(file.get(), &facts) == 0 && facts.st_size == bytes;
}

} // namespace zelvo
