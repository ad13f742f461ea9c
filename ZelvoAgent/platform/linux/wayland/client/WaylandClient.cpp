#include "platform/linux/wayland/client/WaylandClient.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <wayland-client-protocol.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace zelvo {

std::string waylandSocketPath(std::string const& wanted)
{
    auto const variable = [](char const* name, char const* otherwise) {
        char const* const value = std::getenv(name);
        return std::string(value && *value ? value : otherwise);
    };
    std::string socket = wanted.empty() ? variable("WAYLAND_DISPLAY", "wayland-0") : wanted;
    if (socket.starts_with('/'))
        return socket;
    std::string const folder = variable("XDG_RUNTIME_DIR", "");
    return folder.empty() ? std::string() : folder + '/' + socket;
}

namespace {

/// A connected socket, or -1. wl_display_connect would wait for a compositor that accepts nothing.
int connectTo(std::string const& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path)
        return -1;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    int const descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor >= 0 &&
        ::connect(descriptor, reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0) {
        ::close(descriptor);
        return -1;
    }
    return descriptor;
}

} // namespace

struct WaylandClient::Listener {
    static void
    added(void* data, wl_registry*, std::uint32_t name, char const* interface, std::uint32_t version)
    {
        auto& client = *static_cast<WaylandClient*>(data);
        WaylandGlobal const global{.name = name, .interface = interface, .version = version};
        client.offered.change([&](auto& globals) { globals.push_back(global); });
        for (Observer const& observer : client.observers)
            observer.added(global);
    }

    static void removed(void* data, wl_registry*, std::uint32_t name)
    {
        auto& client = *static_cast<WaylandClient*>(data);
        std::optional<WaylandGlobal> gone;
        client.offered.change([&](auto& globals) {
            auto const found = std::ranges::find(globals, name, &WaylandGlobal::name);
            if (found == globals.end())
                return;
            gone = *found;
            globals.erase(found);
        });
        if (gone)
            for (Observer const& observer : client.observers)
                observer.removed(*gone);
    }

    static constexpr wl_registry_listener registry{.global = added, .global_remove = removed};
};

std::shared_ptr<WaylandClient> WaylandClient::open(std::string const& socket, Patience patience)
{
    int const descriptor = connectTo(waylandSocketPath(socket));
    if (descriptor < 0)
        return nullptr;
    wl_display* const display = wl_display_connect_to_fd(descriptor);
    if (!display) {
        ::close(descriptor);
        return nullptr;
    }
    std::shared_ptr<WaylandClient> client(new WaylandClient(display));
    return client->roundtrip(patience) ? client : nullptr;
}

WaylandClient::WaylandClient(wl_display* display)
    : display(display), registry(wl_display_get_registry(display))
{
    wl_registry_add_listener(registry, &Listener::registry, this);
}

WaylandClient::~WaylandClient()
{
    wl_registry_destroy(registry);
    wl_display_disconnect(display);
}

bool WaylandClient::isAlive() const
{
    return wl_display_get_error(display) == 0;
}

std::optional<WaylandGlobal> WaylandClient::find(std::string_view interface) const
{
    auto const all = globals();
    auto const found = std::ranges::find(all, interface, &WaylandGlobal::interface);
    return found == all.end() ? std::nullopt : std::optional(*found);
}

void* WaylandClient::bindObject(WaylandGlobal const& global,
                                wl_interface const& interface,
                                std::uint32_t newest)
{
    return wl_registry_bind(registry, global.name, &interface, std::min(global.version, newest));
}

void WaylandClient::observeGlobals(std::function<void(WaylandGlobal const&)> added,
                                   std::function<void(WaylandGlobal const&)> removed)
{
    for (WaylandGlobal const& global : globals())
        added(global);
    observers.push_back({std::move(added), std::move(removed)});
}

void WaylandClient::flush()
{
    wl_display_flush(display);
}

bool WaylandClient::send()
{
    unsent = wl_display_flush(display) < 0 && errno == EAGAIN;
    // After EPIPE there may be an error event to read, which ends the connection then.
    return unsent || isAlive();
}

/// Waits until something arrives, and reads it. False if nothing arrives or the connection is lost.
bool WaylandClient::read(int milliseconds)
{
    pollfd waiting{.fd = wl_display_get_fd(display),
                   .events = static_cast<short>(unsent ? POLLIN | POLLOUT : POLLIN),
                   .revents = 0};
    if (::poll(&waiting, 1, milliseconds) <= 0) {
        wl_display_cancel_read(display);
        return false;
    }
    if (waiting.revents & ~POLLOUT)
        return wl_display_read_events(display) == 0;
    wl_display_cancel_read(display);
    return true;
}

bool WaylandClient::dispatchUntil(std::function<bool()> const& done, Patience patience)
{
    auto const end = std::chrono::steady_clock::now() + patience;
    while (isAlive() && wl_display_dispatch_pending(display) >= 0) {
        if (done())
            return true;
        if (wl_display_prepare_read(display) != 0)
            continue;
        auto const left = std::chrono::duration_cast<Patience>(end - std::chrono::steady_clock::now());
        if (send())
            read(static_cast<int>(std::max(left.count(), Patience::rep{})));
        else
            wl_display_cancel_read(display);
        if (left.count() <= 0)
            return isAlive() && wl_display_dispatch_pending(display) >= 0 && done();
    }
    return false;
}

bool WaylandClient::roundtrip(Patience patience)
{
    bool answered = false;
    static constexpr wl_callback_listener listener{
        .done = [](void* data, wl_callback*, std::uint32_t) { *static_cast<bool*>(data) = true; }};
    std::unique_ptr<wl_callback, ReleaseProxy<wl_callback_destroy>> const callback(wl_display_sync(display));
    if (!callback)
        return false;
    wl_callback_add_listener(callback.get(), &listener, &answered);
    return dispatchUntil([&] { return answered; }, patience);
}

bool WaylandClient::dispatchArrived()
{
    while (wl_display_prepare_read(display) != 0)
        if (wl_display_dispatch_pending(display) < 0)
            return false;
    // Reads without waiting: libwayland's reading does not block, and nobody else reads.
    bool const read = wl_display_read_events(display) == 0;
    // Listeners make requests, so sending is last.
    return wl_display_dispatch_pending(display) >= 0 && send() && read && isAlive();
}

} // namespace zelvo
