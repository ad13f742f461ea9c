#include "platform/linux/wayland/portal/PortalSession.h"

#include "platform/linux/wayland/portal/PortalOpening.h"

#include <boost/asio/dispatch.hpp>

#include <fcntl.h>

#include <utility>

namespace zelvo {

Task<PortalSession::Opening> PortalSession::open(std::shared_ptr<PortalRequests> requests, Wish wish)
{
    PortalOpening opening(std::move(requests), std::move(wish));
    co_return co_await opening.run();
}

PortalSession::PortalSession(std::shared_ptr<PortalRequests> requests,
                             std::string handle,
                             PortalAnswer answer)
    : requests(std::move(requests)), path(std::move(handle)), devices(answer.devices),
      clipboard(answer.hasClipboard), shared(std::move(answer.streams))
{
    this->requests->followSession(path, [this] { end(); });
}

std::shared_ptr<PortalSession> PortalSession::make(std::shared_ptr<PortalRequests> requests,
                                                   std::string handle,
                                                   PortalAnswer answer,
                                                   std::uint32_t version)
{
    Executor const agent = requests->agent();
    auto made = std::unique_ptr<PortalSession>(
        new PortalSession(std::move(requests), std::move(handle), std::move(answer)));
    made->version = version;
    return {made.release(), [agent](PortalSession* raw) {
                asio::dispatch(agent, [kept = std::unique_ptr<PortalSession>(raw)] { kept->close(); });
            }};
}

void PortalSession::observeEnd(std::function<void()> observer)
{
    observers.push_back(std::move(observer));
}

void PortalSession::close()
{
    if (isLive.exchange(false))
        requests->closeSession(path);
    observers.clear();
}

void PortalSession::end()
{
    isLive = false;
    auto const called = std::exchange(observers, {});
    for (auto const& observer : called)
        observer();
}

Task<bool> PortalSession::call(std::string member, PortalRequest::Append arguments)
{
    if (!isLive)
        co_return false;
    auto const append = [this, &arguments](sd_bus_message* message) {
        sd_bus_message_append(message, "oa{sv}", path.c_str(), 0);
        arguments(message);
    };
    try {
        co_await requests->call("RemoteDesktop", std::move(member), append);
    } catch (BusFailure const&) {
        co_return false;
    }
    co_return isLive.load();
}

Task<UniqueFd> PortalSession::openPipeWire()
{
    return descriptor("ScreenCast", "OpenPipeWireRemote");
}

Task<UniqueFd> PortalSession::connectToEis()
{
    return descriptor("RemoteDesktop", "ConnectToEIS");
}

Task<UniqueFd> PortalSession::descriptor(std::string interface, std::string member)
{
    UniqueFd made;
    auto const append = [this](sd_bus_message* message) {
        sd_bus_message_append(message, "oa{sv}", path.c_str(), 0);
    };
    auto const onReply = [&made](sd_bus_message* reply) {
        int raw = -1; // Owned by the message.
        if (sd_bus_message_read(reply, "h", &raw) > 0)
            made.reset(::fcntl(raw, F_DUPFD_CLOEXEC, 0));
    };
    try {
        if (isLive)
            co_await requests->call(std::move(interface), std::move(member), append, onReply);
    } catch (BusFailure const&) {
        co_return UniqueFd();
    }
    co_return made;
}

} // namespace zelvo
