#include "platform/linux/wayland/overlays/OverlayBuffer.h"

#include "platform/portable/files/UniqueFd.h"

#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client-protocol.h>

#include <cstring>

namespace zelvo {

std::unique_ptr<OverlayBuffer> OverlayBuffer::make(wl_shm* memory, int width, int height)
{
    std::unique_ptr<OverlayBuffer> made(new OverlayBuffer(width, height));
    auto const size = made->size();
    UniqueFd const file(::memfd_create("zelvo-overlay", MFD_CLOEXEC));
    if (file.get() < 0 || ::ftruncate(file.get(), static_cast<off_t>(size)) != 0)
        return nullptr;
    void* const mapped = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (mapped == MAP_FAILED) // NOLINT(performance-no-int-to-ptr)
        return nullptr;
    made->data = static_cast<std::uint32_t*>(mapped);
    wl_shm_pool* const pool = wl_shm_create_pool(memory, file.get(), static_cast<std::int32_t>(size));
    made->buffer = wl_shm_pool_create_buffer(pool, 0, width, height, width * 4, WL_SHM_FORMAT_ARGB8888);
    wl_shm_pool_destroy(pool);
    static constexpr wl_buffer_listener listener{
        .release = [](void* self, wl_buffer*) { static_cast<OverlayBuffer*>(self)->busy = false; }};
    wl_buffer_add_listener(made->buffer, &listener, made.get());
    return made;
}

OverlayBuffer::~OverlayBuffer()
{
    if (buffer)
        wl_buffer_destroy(buffer);
    if (data)
        ::munmap(data, size());
}

void OverlayBuffer::clear()
{
    std::memset(data, 0, size());
}

} // namespace zelvo
