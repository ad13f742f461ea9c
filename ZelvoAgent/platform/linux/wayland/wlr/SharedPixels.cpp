#include "platform/linux/wayland/wlr/SharedPixels.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client-protocol.h>

namespace zelvo {

namespace {

/// A file in memory of a size that nobody can change, or -1: a file that shrinks would end who reads it.
int sealedMemory(std::size_t size)
{
    int const file = ::memfd_create("zelvo-frame", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (file < 0)
        return -1;
    if (::ftruncate(file, static_cast<off_t>(size)) == 0 &&
        ::fcntl(file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) == 0)
        return file;
    ::close(file);
    return -1;
}

} // namespace

SharedPixels::SharedPixels(wl_shm* shm, RawFrame const& frame)
    : shape(frame), size(bytesOf(frame).value_or(0))
{
    int const file = sealedMemory(size);
    void* const mapped =
        file < 0 ? MAP_FAILED : ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (mapped != MAP_FAILED) {
        memory = std::shared_ptr<void>(mapped, [bytes = size](void* at) { ::munmap(at, bytes); });
        wl_shm_pool* const pool = wl_shm_create_pool(shm, file, static_cast<std::int32_t>(size));
        object = wl_shm_pool_create_buffer(pool, 0, frame.width, frame.height, frame.stride, frame.format);
        wl_shm_pool_destroy(pool);
    }
    if (file >= 0)
        ::close(file);
    if (!object)
        throw ScreenFailure{"there is no memory for a frame"};
}

SharedPixels::~SharedPixels()
{
    wl_buffer_destroy(object);
}

bool SharedPixels::fits(RawFrame const& frame) const
{
    return memory.use_count() == 1 && frame.format == shape.format && frame.width == shape.width &&
           frame.height == shape.height && frame.stride == shape.stride;
}

} // namespace zelvo
