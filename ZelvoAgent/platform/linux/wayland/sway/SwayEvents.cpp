#include "platform/linux/wayland/sway/SwayEvents.h"

#include "platform/linux/wayland/sway/SwayIpc.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

#include <array>
#include <atomic>
#include <string>
#include <utility>

namespace zelvo {

namespace {

/// A key or button of sway's own may resize a window, which it reports in no other way.
constexpr std::string_view subjects = R"(["window","workspace","output","binding"])";

} // namespace

struct SwayEvents::Loop : std::enable_shared_from_this<Loop> {
    Loop(Executor const& agent, std::function<void()> call) : changed(std::move(call)), descriptor(agent) {}

    void start()
    {
        int const socket = SwayIpc::connect();
        if (socket < 0)
            return end();
        boost::system::error_code ignored;
        descriptor.close(ignored);
        descriptor.assign(socket);
        request = SwayHeader::message(SwayHeader::subscribe, subjects);
        asio::async_write(descriptor, asio::buffer(request),
                          [self = shared_from_this()](boost::system::error_code failure, std::size_t) {
                              if (failure)
                                  return self->end();
                              self->read();
                          });
    }

    /// The reply to the subscription counts as a change: what happened before it was not reported.
    void read()
    {
        descriptor.async_read_some(
            asio::buffer(part), [self = shared_from_this()](boost::system::error_code failure, std::size_t) {
                // What the events say is asked for anew, so their bytes are not read.
                if (failure)
                    return self->end();
                self->hasReported = true;
                self->changed();
                self->read();
            });
    }

    /// What is known may be old from now on.
    void end()
    {
        isFollowing = false;
        if (std::exchange(hasReported, false))
            changed();
    }

    std::function<void()> changed;
    std::atomic<bool> isFollowing = true;
    asio::posix::stream_descriptor descriptor; // agent
    std::string request;
    bool hasReported = false; // agent
    std::array<char, 65536> part{};
};

SwayEvents::SwayEvents(Contexts const& contexts, std::function<void()> changed)
    : loop(std::make_shared<Loop>(contexts.agent, std::move(changed)))
{
    asio::post(contexts.agent, [loop = loop] { loop->start(); });
}

void SwayEvents::keepFollowing()
{
    if (!loop->isFollowing.exchange(true))
        asio::post(loop->descriptor.get_executor(), [loop = loop] { loop->start(); });
}

SwayEvents::~SwayEvents()
{
    asio::post(loop->descriptor.get_executor(), [loop = std::move(loop)] {
        boost::system::error_code ignored;
        loop->descriptor.close(ignored);
    });
}

} // namespace zelvo
