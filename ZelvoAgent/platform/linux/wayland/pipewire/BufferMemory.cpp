#include "platform/linux/wayland/pipewire/BufferMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

namespace zelvo {

namespace {

std::size_t sizeOf(int descriptor)
{
    off_t const end = ::lseek(descriptor, 0, SEEK_END);
    return end < 0 ? 0 : static_cast<std::size_t>(end);
}

} // namespace

BufferMemory::BufferMemory(spa_data const& data) : offset(data.mapoffset)
{
    int const descriptor = static_cast<int>(data.fd);
    if (data.type == SPA_DATA_MemFd) {
        // Reading beyond the file's end would end the program.
        size = std::min(data.maxsize + offset, sizeOf(descriptor));
    } else if (data.type == SPA_DATA_DmaBuf) {
        ofCard = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0); // The library closes its own with the buffer.
        size = sizeOf(ofCard);                            // Senders do not always say it.
    }
    if (size <= offset)
        return;
    void* const mapped = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
    start = mapped == MAP_FAILED ? nullptr : mapped;
}

BufferMemory::~BufferMemory()
{
    if (start)
        ::munmap(start, size);
    if (ofCard >= 0)
        ::close(ofCard);
}

std::uint8_t const* BufferMemory::at(std::size_t from, std::size_t length) const
{
    if (from > size - offset || length > size - offset - from)
        return nullptr;
    return static_cast<std::uint8_t const*>(start) + offset + from;
}

} // namespace zelvo
