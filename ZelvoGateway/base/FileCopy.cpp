#include "ZelvoGateway/base/FileCopy.h"

#include "ZelvoGateway/base/OwnedDescriptor.h"
#include "ZelvoGateway/base/PrivateFiles.h"
#include "ZelvoGateway/base/Secrets.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <vector>

namespace zelvo::service {

namespace {

constexpr std::size_t pieceBytes = std::size_t{256} << 10;

[[noreturn]] void fail(std::string const& what, std::filesystem::path const& path)
{
    throw std::runtime_error("cannot " + what + " " + path.string() + ": " +
                             std::generic_category().message(errno));
}

int opened(std::filesystem::path const& path, int flags, std::string const& what)
{
    int const number = ::open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (number < 0)
        fail(what, path);
    return number;
}

[[noreturn]] void refuseLarger(std::filesystem::path const& path, std::uint64_t maxBytes)
{
    throw std::runtime_error("cannot read " + path.string() + ": it has more than " +
                             std::to_string(maxBytes) + " bytes");
}

/// Without waiting for the other end of a pipe.
int openedToRead(std::filesystem::path const& path)
{
    int const number = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (number < 0 && errno == ENOENT)
        throw MissingFile("cannot read " + path.string() + ": " + std::generic_category().message(ENOENT));
    if (number < 0)
        fail("read", path);
    return number;
}

void assertPlain(int file, std::filesystem::path const& path, std::uint64_t maxBytes)
{
    struct stat status{};
    if (::fstat(file, &status) != 0)
        fail("read", path);
    if (!S_ISREG(status.st_mode))
        throw std::runtime_error("cannot read " + path.string() + ": it is no plain file");
    if (static_cast<std::uint64_t>(status.st_size) > maxBytes)
        refuseLarger(path, maxBytes);
}

FileDigest readAll(std::filesystem::path const& path,
                   std::uint64_t maxBytes,
                   std::function<void(std::string_view)> const& take)
{
    OwnedDescriptor const file(openedToRead(path));
    assertPlain(file.get(), path, maxBytes);
    std::vector<char> room(pieceBytes);
    TextHash hash;
    FileDigest digest;
    for (;;) {
        ssize_t const count = ::read(file.get(), room.data(), room.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail("read", path);
        if (count == 0)
            break;
        std::string_view const piece(room.data(), static_cast<std::size_t>(count));
        digest.bytes += piece.size();
        if (digest.bytes > maxBytes) // It grows meanwhile.
            refuseLarger(path, maxBytes);
        hash.add(piece);
        take(piece);
    }
    digest.sha256 = hash.end();
    return digest;
}

void writeAll(int file, std::string_view piece, std::filesystem::path const& path)
{
    while (!piece.empty()) {
        ssize_t const count = ::write(file, piece.data(), piece.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            fail("write", path);
        piece.remove_prefix(static_cast<std::size_t>(count));
    }
}

} // namespace

FileDigest copyToPrivateFile(std::filesystem::path const& source,
                             std::filesystem::path const& target,
                             std::uint64_t maxBytes)
{
    OwnedDescriptor const file(opened(target, O_WRONLY | O_CREAT | O_EXCL, "write"));
    try {
        markPrivate(file.get());
        FileDigest digest =
            readAll(source, maxBytes, [&](std::string_view piece) { writeAll(file.get(), piece, target); });
        if (::fsync(file.get()) != 0)
            fail("write", target);
        return digest;
    } catch (...) {
        ::unlink(target.c_str());
        throw;
    }
}

std::string textWithin(std::filesystem::path const& file, std::uint64_t maxBytes)
{
    std::string text;
    readAll(file, maxBytes, [&](std::string_view piece) { text += piece; });
    return text;
}

FileDigest digestOf(std::filesystem::path const& file)
{
    return readAll(file, anyBytes, [](std::string_view) {});
}

void syncFolder(std::filesystem::path const& folder)
{
    OwnedDescriptor const open(opened(folder, O_RDONLY | O_DIRECTORY, "keep"));
    if (::fsync(open.get()) != 0)
        fail("keep", folder);
}

} // namespace zelvo::service
