#include "ZelvoGateway/base/SecretFile.h"

#include "ZelvoGateway/base/OwnedDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace zelvo::service {

namespace {

[[noreturn]] void fail(std::filesystem::path const& path, std::string const& why)
{
    throw std::runtime_error(path.string() + ": " + why);
}

void assertPrivate(std::filesystem::path const& path, struct stat const& status)
{
    if (!S_ISREG(status.st_mode))
        fail(path, "this is no file");
    if (status.st_uid != 0 && status.st_uid != ::geteuid())
        fail(path, "it belongs to another user");
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        fail(path, "others have access to it; chmod 600 takes that away");
}

} // namespace

std::string textOfSecretFile(std::filesystem::path const& path, std::size_t maxBytes)
{
    int const number = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); // Not held up by a pipe.
    if (number < 0)
        fail(path, std::generic_category().message(errno));
    OwnedDescriptor const file(number);
    struct stat status{};
    if (::fstat(number, &status) != 0)
        fail(path, std::generic_category().message(errno));
    assertPrivate(path, status);
    std::string text(maxBytes + 1, '\0');
    ssize_t const count = ::pread(number, text.data(), text.size(), 0);
    if (count < 0)
        fail(path, std::generic_category().message(errno));
    if (static_cast<std::size_t>(count) > maxBytes)
        fail(path, "it is too large");
    text.resize(static_cast<std::size_t>(count));
    return text;
}

} // namespace zelvo::service
