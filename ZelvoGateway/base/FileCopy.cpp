#include "ZelvoGateway/base/FileCopy.h"

#include "ZelvoGateway/base/OwnedDescriptor.h"
#include "ZelvoGateway/base/PrivateFiles.h"
#include "ZelvoGateway/base/Secrets.h"

#include <fcntl.h>
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

FileDigest readAll(std::filesystem::path const& path, std::function<void(std::string_view)> const& take)
{
    OwnedDescriptor const file(opened(path, O_RDONLY | O_NOFOLLOW, "read"));
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
        hash.add(piece);
        take(piece);
        digest.bytes += piece.size();
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

FileDigest copyToPrivateFile(std::filesystem::path const& source, std::filesystem::path const& target)
{
    OwnedDescriptor const file(opened(target, O_WRONLY | O_CREAT | O_EXCL, "write"));
    try {
        markPrivate(file.get());
        FileDigest digest =
            readAll(source, [&](std::string_view piece) { writeAll(file.get(), piece, target); });
        if (::fsync(file.get()) != 0)
            fail("write", target);
        return digest;
    } catch (...) {
        ::unlink(target.c_str());
        throw;
    }
}

FileDigest digestOf(std::filesystem::path const& file)
{
    return readAll(file, [](std::string_view) {});
}

void syncFolder(std::filesystem::path const& folder)
{
    OwnedDescriptor const open(opened(folder, O_RDONLY | O_DIRECTORY, "keep"));
    if (::fsync(open.get()) != 0)
        fail("keep", folder);
}

} // namespace zelvo::service
