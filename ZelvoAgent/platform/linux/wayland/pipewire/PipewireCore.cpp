#include "platform/linux/wayland/pipewire/PipewireCore.h"

#include "platform/ScreenSource.h"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <fcntl.h>
#include <unistd.h>

// PipeWire's macros use extensions of the language.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace zelvo {

struct PipewireCore::Parts {
    explicit Parts(Executor const& agent) : descriptor(agent) {}
    ~Parts()
    {
        boost::system::error_code ignored;
        descriptor.close(ignored);
        if (core)
            pipewire().pw_core_disconnect(core);
        if (context)
            pipewire().pw_context_destroy(context);
        if (isEntered)
            pw_loop_leave(loop);
        if (loop)
            pipewire().pw_loop_destroy(loop);
    }
    Parts(Parts const&) = delete;
    Parts& operator=(Parts const&) = delete;

    asio::posix::stream_descriptor descriptor; // of the loop
    pw_loop* loop = nullptr;
    pw_context* context = nullptr;
    pw_core* core = nullptr;
    bool isEntered = false;
};

PipewireCore::PipewireCore(Executor agent, int descriptor)
    : agent(agent), parts(std::make_unique<Parts>(agent))
{
    Pipewire const& library = pipewire();
    parts->loop = library.pw_loop_new(nullptr);
    parts->context = parts->loop ? library.pw_context_new(parts->loop, nullptr, 0) : nullptr;
    if (!parts->context) {
        if (descriptor >= 0)
            ::close(descriptor);
        throw ScreenFailure{"PipeWire does not start"};
    }
    // It takes the descriptor over, also when it fails.
    parts->core = descriptor >= 0 ? library.pw_context_connect_fd(parts->context, descriptor, nullptr, 0)
                                  : library.pw_context_connect(parts->context, nullptr, 0);
    if (!parts->core)
        throw ScreenFailure{"PipeWire does not answer"};
    parts->descriptor.assign(::fcntl(pw_loop_get_fd(parts->loop), F_DUPFD_CLOEXEC, 0));
}

PipewireCore::~PipewireCore() = default;

pw_core* PipewireCore::raw() const
{
    return parts->core;
}

void PipewireCore::start()
{
    // For good: while nobody has entered the loop, the library calls streams on its own thread.
    pw_loop_enter(parts->loop);
    parts->isEntered = true;
    iterate();
}

void PipewireCore::iterate()
{
    pw_loop_iterate(parts->loop, 0);
    wait();
}

void PipewireCore::wait()
{
    parts->descriptor.async_wait(asio::posix::stream_descriptor::wait_read,
                                 [weak = weak_from_this()](boost::system::error_code error) {
                                     auto const self = weak.lock();
                                     if (self && !error)
                                         self->iterate();
                                 });
}

} // namespace zelvo
