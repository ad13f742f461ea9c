#include "platform/portable/net/DownloadFile.h"

#include "platform/WebSocket.h"
#include "platform/portable/files/FileBytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace zelvo {

namespace {

constexpr int wholeStatus = 200;
constexpr int restStatus = 206;

std::string systemWords()
{
    return std::generic_category().message(errno);
}

} // namespace

DownloadFile::DownloadFile(std::filesystem::path const& path, std::int64_t maxBytes) : maxBytes(maxBytes)
{
    file = UniqueFd(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600));
    struct stat facts{};
    if (!file || ::fstat(file.get(), &facts) != 0)
        throw NetworkFailure{NetworkFailure::Kind::other, "the file can't be opened: " + systemWords()};
    if (!S_ISREG(facts.st_mode))
        throw NetworkFailure{NetworkFailure::Kind::other, "it is not a file"};
    bytes = ::lseek(file.get(), 0, SEEK_END);
}

bool DownloadFile::begin(int status, std::string_view range)
{
    isKept = status == wholeStatus || status == restStatus;
    if (status == restStatus) {
        if (range.starts_with("bytes " + std::to_string(bytes) + "-"))
            return true;
        reason = "the answer holds another part than the one that is missing";
        return false;
    }
    if (status != wholeStatus || bytes == 0)
        return true;
    if (::ftruncate(file.get(), 0) != 0 || ::lseek(file.get(), 0, SEEK_SET) != 0) {
        reason = "the file can't be begun anew: " + systemWords();
        return false;
    }
    bytes = 0;
    return true;
}

bool DownloadFile::write(std::string_view content)
{
    if (!isKept)
        return true;
    auto const count = static_cast<std::int64_t>(content.size());
    if (count > maxBytes - bytes) {
        reason = "the answer is longer than announced";
        return false;
    }
    if (!files::writeAll(file.get(), content)) {
        reason = "the file can't be written: " + systemWords();
        return false;
    }
    bytes += count;
    return true;
}

} // namespace zelvo
