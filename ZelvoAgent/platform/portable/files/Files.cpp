#include "platform/portable/files/Files.h"

#include "platform/portable/files/FileBytes.h"
#include "platform/portable/files/FileMarks.h"
#include "platform/portable/files/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>

namespace zelvo::files {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view temporarySuffix = ".tmp";

Identity identityIn(struct stat const& facts)
{
    return {.device = facts.st_dev,
            .inode = facts.st_ino,
            .bytes = facts.st_size,
            .changedNs = std::int64_t(facts.st_mtim.tv_sec) * 1'000'000'000 + facts.st_mtim.tv_nsec};
}

/// Hidden, so that it is never mistaken for a stored file, and with our process id, so that leftovers can be
/// recognised.
fs::path temporaryBeside(fs::path const& path)
{
    static std::atomic<unsigned> last{0};
    std::string const name = "." + path.filename().string() + "." + std::to_string(++last) + "." +
                             std::to_string(::getpid()) + std::string(temporarySuffix);
    return path.parent_path() / name;
}

/// Writes and syncs a new file and returns its identity; `nullopt` with errno set on failure.
std::optional<Identity> writeNew(fs::path const& path, std::string_view content)
{
    UniqueFd const file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    struct stat facts{};
    if (file)
        markPrivate(file.get());
    if (!file || !writeAll(file.get(), content) || ::fsync(file.get()) != 0 ||
        ::fstat(file.get(), &facts) != 0)
        return std::nullopt;
    return identityIn(facts);
}

/// The process id in the name of a temporary file; `nullopt` for any other name.
std::optional<pid_t> writerOf(std::string_view name)
{
    if (!name.starts_with('.') || !name.ends_with(temporarySuffix))
        return std::nullopt;
    name.remove_suffix(temporarySuffix.size());
    std::string_view const digits = name.substr(name.rfind('.') + 1);
    pid_t pid = 0;
    auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), pid);
    if (error != std::errc() || end != digits.data() + digits.size() || pid <= 0)
        return std::nullopt;
    return pid;
}

} // namespace

std::optional<Identity> identityOf(fs::path const& path)
{
    struct stat facts{};
    if (::stat(path.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode))
        return std::nullopt;
    return identityIn(facts);
}

std::optional<Read> read(fs::path const& path, std::size_t limit)
{
    if (!identityOf(path))
        return std::nullopt; // Opening a device or a pipe may have side effects.
    UniqueFd const file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat facts{};
    if (!file || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode) ||
        static_cast<std::uint64_t>(facts.st_size) > limit)
        return std::nullopt;
    Read result{.identity = identityIn(facts),
                .content = std::string(static_cast<std::size_t>(facts.st_size), '\0')};
    std::size_t taken = 0;
    while (taken < result.content.size()) {
        ssize_t const count =
            ::read(file.get(), result.content.data() + taken, result.content.size() - taken);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break; // It shrank meanwhile; its identity has changed, so it is read again.
        taken += static_cast<std::size_t>(count);
    }
    result.content.resize(taken);
    return result;
}

std::optional<Identity> replace(fs::path const& path, std::string_view content)
{
    fs::path const temporary = temporaryBeside(path);
    std::optional<Identity> const written = writeNew(temporary, content);
    if (written && ::rename(temporary.c_str(), path.c_str()) == 0)
        return written;
    int const reason = errno;
    ::unlink(temporary.c_str());
    errno = reason;
    return std::nullopt;
}

void removeLeftovers(fs::path const& folder)
{
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        auto const writer = writerOf(entry->path().filename().native());
        if (writer && *writer != ::getpid() && ::kill(*writer, 0) != 0 && errno == ESRCH)
            ::unlink(entry->path().c_str());
    }
}

bool makePrivateFolder(fs::path const& folder)
{
    std::error_code error;
    if (fs::is_directory(folder, error))
        return true;
    if (folder.has_parent_path() && folder.parent_path() != folder &&
        !makePrivateFolder(folder.parent_path()))
        return false;
    return ::mkdir(folder.c_str(), 0700) == 0 || (errno == EEXIST && fs::is_directory(folder, error));
}

void syncFolder(fs::path const& folder)
{
    UniqueFd const file(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (file)
        ::fsync(file.get());
}

} // namespace zelvo::files
