#include "BareScreenshot.h"

#include "desktop/harness/XQuestions.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <turbojpeg.h>
#include <xcb/shm.h>

#include <stdexcept>
#include <vector>

namespace zelvo {

struct BareScreenshot::State {
    explicit State(std::string const& display)
        : x(test::connectTo(display)), screen(test::screenOf(x.get())),
          jpeg(tjBufSize(screen->width_in_pixels, screen->height_in_pixels, TJSAMP_420))
    {
        int const handle =
            ::shmget(IPC_PRIVATE, std::size_t{4} * screen->width_in_pixels * screen->height_in_pixels,
                     IPC_CREAT | 0600);
        void* const mapped = ::shmat(handle, nullptr, 0);
        if (mapped == reinterpret_cast<void*>(-1))
            throw std::runtime_error("no shared memory");
        pixels = static_cast<unsigned char*>(mapped);
        segment = xcb_generate_id(x.get());
        xcb_shm_attach(x.get(), segment, static_cast<std::uint32_t>(handle), 0);
        test::syncWith(x.get());
        ::shmctl(handle, IPC_RMID, nullptr);
    }
    ~State()
    {
        ::shmdt(pixels);
        tjDestroy(compressor);
    }

    bool grab()
    {
        auto const cookie =
            xcb_shm_get_image(x.get(), screen->root, 0, 0, screen->width_in_pixels, screen->height_in_pixels,
                              ~0u, XCB_IMAGE_FORMAT_Z_PIXMAP, segment, 0);
        return test::XReply<xcb_shm_get_image_reply_t>(xcb_shm_get_image_reply(x.get(), cookie, nullptr)) !=
               nullptr;
    }

    test::XConnection x;
    xcb_screen_t* screen;
    std::vector<unsigned char> jpeg;
    unsigned char* pixels = nullptr;
    xcb_shm_seg_t segment = 0;
    tjhandle compressor = tjInitCompress();
};

BareScreenshot::BareScreenshot(std::string const& display) : state(std::make_unique<State>(display)) {}

BareScreenshot::~BareScreenshot() = default;

std::size_t BareScreenshot::take(int quality)
{
    unsigned char* out = state->jpeg.data();
    unsigned long size = state->jpeg.size();
    bool const taken =
        state->grab() && tjCompress2(state->compressor, state->pixels, state->screen->width_in_pixels, 0,
                                     state->screen->height_in_pixels, TJPF_BGRX, &out, &size, TJSAMP_420,
                                     quality, TJFLAG_NOREALLOC) == 0;
    return taken ? size : 0;
}

} // namespace zelvo
