#include "platform/linux/system/RtnetlinkPath.h"

#include "base/Text.h"
#include "platform/linux/system/RouteMessages.h"
#include "platform/portable/files/UniqueFd.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <optional>

namespace zelvo {

namespace {

int openSocket()
{
    UniqueFd socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    // The kernel removes an interface's IPv4 routes without a message, so links and addresses count too.
    address.nl_groups =
        RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE | RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
    if (!socket || ::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        return -1;
    return socket.release();
}

} // namespace

/// One socket that requests all routes and receives changes. After a change it asks again; any number of
/// changes during an answer cost one more request.
class RtnetlinkPath::Watcher : public std::enable_shared_from_this<Watcher> {
public:
    Watcher(Executor const& agent, std::function<void(bool)> onUpdate)
        : descriptor(agent), onUpdate(std::move(onUpdate))
    {
    }

    void start()
    {
        int const socket = openSocket();
        if (socket < 0)
            return report(true);
        descriptor.assign(socket);
        ask();
        wait();
    }

    void stop()
    {
        boost::system::error_code ignored;
        descriptor.close(ignored);
        onUpdate = {};
    }

private:
    void ask()
    {
        isStale = false;
        foundDefault = false;
        auto const request = routes::dumpRequest(++sequence);
        isAsking = ::send(descriptor.native_handle(), request.data(), request.size(), 0) >= 0;
        if (!isAsking && !reported)
            report(true);
    }

    void wait()
    {
        descriptor.async_wait(asio::posix::stream_descriptor::wait_read,
                              [weak = weak_from_this()](boost::system::error_code error) {
                                  auto const self = weak.lock();
                                  if (!error && self && self->descriptor.is_open())
                                      self->readPacket();
                              });
    }

    /// One packet per handler, so that a long table never blocks the thread.
    void readPacket()
    {
        sockaddr_nl from{};
        socklen_t length = sizeof from;
        ssize_t const count =
            ::recvfrom(descriptor.native_handle(), buffer.data(), buffer.size(), MSG_DONTWAIT | MSG_TRUNC,
                       reinterpret_cast<sockaddr*>(&from), &length);
        if (count < 0 && errno == ENOBUFS)
            isStale = true; // The kernel dropped notifications.
        else if (count > 0 && from.nl_pid == 0 && static_cast<std::size_t>(count) <= buffer.size())
            take(routes::parse(std::span(buffer).first(static_cast<std::size_t>(count)), sequence));
        if (isStale && !isAsking)
            ask();
        if (descriptor.is_open())
            wait();
    }

    void take(routes::Packet packet)
    {
        foundDefault = foundDefault || packet.hasDefaultRoute;
        isStale = isStale || packet.isChange || packet.isInterrupted;
        if (!packet.isEnd)
            return;
        isAsking = false;
        if (!packet.isInterrupted)
            report(foundDefault);
    }

    void report(bool satisfied)
    {
        if (reported == satisfied)
            return;
        reported = satisfied;
        if (onUpdate)
            onUpdate(satisfied);
    }

    // Everything on the agent's thread.
    asio::posix::stream_descriptor descriptor;
    std::function<void(bool)> onUpdate;
    std::uint32_t sequence = 0;
    bool isAsking = false;
    bool isStale = false;
    bool foundDefault = false;
    std::optional<bool> reported;
    std::array<unsigned char, 32UL * 1024> buffer{};
};

RtnetlinkPath::RtnetlinkPath(Executor agent) : agent(std::move(agent)) {}

RtnetlinkPath::~RtnetlinkPath()
{
    if (watcher)
        asio::dispatch(agent, [kept = watcher] { kept->stop(); });
}

void RtnetlinkPath::start(std::string host, std::function<void(bool satisfied)> onUpdate)
{
    if (isLoopback(host)) {
        asio::post(agent, [report = std::move(onUpdate)] { report(true); });
        return;
    }
    watcher = std::make_shared<Watcher>(agent, std::move(onUpdate));
    asio::post(agent, [kept = watcher] { kept->start(); });
}

bool RtnetlinkPath::isLoopback(std::string const& host)
{
    std::string name = text::lowercased(host);
    if (name == "localhost" || name.ends_with(".localhost"))
        return true;
    if (name.starts_with('[') && name.ends_with(']'))
        name = name.substr(1, name.size() - 2);
    boost::system::error_code error;
    auto const address = asio::ip::make_address(name, error);
    return !error && address.is_loopback();
}

} // namespace zelvo
