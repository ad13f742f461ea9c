#include "platform/linux/wayland/client/WaylandEvents.h"

#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>

#include <fcntl.h>

#include <utility>

namespace zelvo {

struct WaylandEvents::Loop : std::enable_shared_from_this<Loop> {
    // The descriptor is a copy: libwayland closes its own.
    Loop(Executor const& agent,
         std::shared_ptr<WaylandClient> connection,
         std::shared_ptr<void> objects,
         std::function<void()> call)
        : client(std::move(connection)), kept(std::move(objects)), lost(std::move(call)),
          descriptor(agent, ::fcntl(wl_display_get_fd(client->get()), F_DUPFD_CLOEXEC, 0))
    {
    }

    void read()
    {
        step();
        if (descriptor.is_open())
            descriptor.async_wait(asio::posix::stream_descriptor::wait_read,
                                  [self = shared_from_this()](boost::system::error_code failure) {
                                      if (!failure)
                                          self->read();
                                  });
    }

    void step()
    {
        if (!descriptor.is_open())
            return;
        if (client->dispatchArrived()) {
            sendLater();
            return;
        }
        close();
        if (auto const report = std::exchange(lost, {}))
            report();
    }

    /// Goes on sending when the compositor reads again.
    void sendLater()
    {
        if (!client->hasUnsent() || std::exchange(isSending, true))
            return;
        descriptor.async_wait(asio::posix::stream_descriptor::wait_write,
                              [self = shared_from_this()](boost::system::error_code failure) {
                                  self->isSending = false;
                                  if (!failure)
                                      self->step();
                              });
    }

    void close()
    {
        boost::system::error_code ignored;
        descriptor.close(ignored);
    }

    std::shared_ptr<WaylandClient> client;
    std::shared_ptr<void> kept;                // agent; ends before its connection
    std::function<void()> lost;                // agent
    asio::posix::stream_descriptor descriptor; // agent
    bool isSending = false;                    // agent
};

WaylandEvents::WaylandEvents(Contexts const& contexts,
                             std::shared_ptr<WaylandClient> client,
                             std::shared_ptr<void> kept,
                             std::function<void()> lost)
    : loop(std::make_shared<Loop>(contexts.agent, std::move(client), std::move(kept), std::move(lost)))
{
    asio::post(contexts.agent, [loop = loop] { loop->read(); });
}

WaylandEvents::~WaylandEvents()
{
    asio::post(loop->descriptor.get_executor(), [loop = std::move(loop)] {
        loop->close();
        loop->kept.reset();
    });
}

void WaylandEvents::request(std::function<void()> requests)
{
    asio::post(loop->descriptor.get_executor(), [loop = loop, requests = std::move(requests)] {
        if (!loop->descriptor.is_open())
            return;
        requests();
        loop->step();
    });
}

} // namespace zelvo
