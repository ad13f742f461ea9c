#include "platform/linux/x11/capture/SharedImage.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XReply.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/shm.h>

namespace zelvo {

SharedImage::SharedImage(std::shared_ptr<X11Connection> connection) : connection(std::move(connection)) {}

SharedImage::~SharedImage()
{
    release();
}

void SharedImage::release()
{
    if (!memory)
        return;
    xcb_shm_detach(connection->get(), id);
    // Flush now: the memory exists until the server detaches too.
    xcb_flush(connection->get());
    ::shmdt(memory);
    memory = nullptr;
    size = 0;
}

bool SharedImage::reserve(std::size_t bytes)
{
    if (bytes <= size)
        return true;
    if (!connection->capabilities().shm)
        return false;
    release();
    int const handle = ::shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (handle < 0)
        return false;
    void* const mapped = ::shmat(handle, nullptr, 0);
    bool attached = false;
    if (mapped != reinterpret_cast<void*>(-1)) {
        auto* const x = connection->get();
        id = xcb_generate_id(x);
        auto const cookie = xcb_shm_attach_checked(x, id, static_cast<std::uint32_t>(handle), 0);
        attached = !XReply<xcb_generic_error_t>(xcb_request_check(x, cookie));
    }
    // The kernel frees it when both users are gone, however we end.
    ::shmctl(handle, IPC_RMID, nullptr);
    if (attached) {
        memory = static_cast<std::uint8_t*>(mapped);
        size = bytes;
    } else if (mapped != reinterpret_cast<void*>(-1)) {
        ::shmdt(mapped);
    }
    return attached;
}

} // namespace zelvo
