#include "platform/portable/files/FileBytes.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace zelvo::files {

namespace {

/// Bytes per call; few enough to stay in the cache between clearing and reading.
constexpr std::size_t bytesAtOnce = 256u << 10;

} // namespace

bool writeAll(int file, std::string_view content)
{
    while (!content.empty()) {
        ssize_t const count = ::write(file, content.data(), content.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool readUpTo(int file, std::size_t atMost, std::string& content)
{
    while (atMost > 0) {
        std::size_t const before = content.size();
        // Use the reserved capacity before growing, which would copy everything.
        std::size_t const reserved = content.capacity() - before;
        content.resize(before + std::min({atMost, bytesAtOnce, reserved > 0 ? reserved : bytesAtOnce}));
        ssize_t const count = ::read(file, content.data() + before, content.size() - before);
        int const reason = errno;
        content.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        errno = reason;
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        if (count == 0)
            return true;
        atMost -= static_cast<std::size_t>(count);
    }
    return true;
}

} // namespace zelvo::files
