#include "platform/linux/x11/X11Events.h"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <fcntl.h>
#include <xcb/xcb.h>

namespace zelvo {

struct X11Events::Loop : std::enable_shared_from_this<Loop> {
    // The descriptor is a copy: xcb closes its own.
    Loop(Executor const& agent, std::shared_ptr<xcb_connection_t> server, std::function<void()> call)
        : connection(std::move(server)), arrived(std::move(call)),
          descriptor(agent, ::fcntl(xcb_get_file_descriptor(connection.get()), F_DUPFD_CLOEXEC, 0))
    {
    }

    void step()
    {
        if (xcb_connection_has_error(connection.get()))
            return;
        xcb_flush(connection.get());
        arrived();
        auto const again = [self = shared_from_this()](boost::system::error_code failure) {
            if (!failure)
                self->step();
        };
        descriptor.async_wait(asio::posix::stream_descriptor::wait_read, again);
    }

    std::shared_ptr<xcb_connection_t> connection;
    std::function<void()> arrived;
    asio::posix::stream_descriptor descriptor; // agent
};

X11Events::X11Events(Contexts const& contexts,
                     std::shared_ptr<X11Connection> connection,
                     std::function<void()> arrived)
    : X11Events(
          contexts, std::shared_ptr<xcb_connection_t>(connection, connection->get()), std::move(arrived))
{
}

X11Events::X11Events(Contexts const& contexts,
                     std::shared_ptr<xcb_connection_t> connection,
                     std::function<void()> arrived)
    : loop(std::make_shared<Loop>(contexts.agent, std::move(connection), std::move(arrived)))
{
    asio::post(contexts.agent, [loop = loop] { loop->step(); });
}

X11Events::X11Events(Contexts const& contexts, std::shared_ptr<X11Connection> const& connection)
    : X11Events(contexts, connection, [connection] { connection->drain(); })
{
}

X11Events::~X11Events()
{
    asio::post(loop->descriptor.get_executor(), [loop = std::move(loop)] {
        boost::system::error_code ignored;
        loop->descriptor.close(ignored);
    });
}

} // namespace zelvo
