#include "desktop/wayland/client/ScriptedCompositor.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <wayland-server-core.h>
#include <wayland-server-protocol.h>

#include <cstdint>
#include <future>
#include <stdexcept>
#include <utility>

// In the code that wayland-scanner makes for the client; a server uses the same tables.
extern wl_interface const kde_output_order_v1_interface;
extern wl_interface const kde_primary_output_v1_interface;

namespace zelvo::test {

namespace {

int listenAt(std::string const& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    int const socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(socket, 8) != 0)
        throw std::runtime_error("cannot listen at " + path);
    return socket;
}

void end(wl_client*, wl_resource* resource)
{
    wl_resource_destroy(resource);
}

/// All three interfaces have one request, which ends the object.
void (*const requests[])(wl_client*, wl_resource*) = {end};

wl_resource* bound(wl_client* client, wl_interface const& interface, std::uint32_t version, std::uint32_t id)
{
    wl_resource* const resource = wl_resource_create(client, &interface, static_cast<int>(version), id);
    wl_resource_set_implementation(resource, requests, nullptr, nullptr);
    return resource;
}

void bindOutput(wl_client* client, void* data, std::uint32_t version, std::uint32_t id)
{
    auto const& output = *static_cast<ScriptedCompositor::Output*>(data);
    wl_resource* const resource = bound(client, wl_output_interface, version, id);
    wl_output_send_geometry(resource, output.x, 0, 0, 0, 0, "", "", 0);
    wl_output_send_mode(resource, WL_OUTPUT_MODE_CURRENT, 1000, 1000, 60000);
    wl_output_send_name(resource, output.name.c_str());
    wl_output_send_done(resource);
}

void bindOrder(wl_client* client, void* data, std::uint32_t version, std::uint32_t id)
{
    wl_resource* const resource = bound(client, kde_output_order_v1_interface, version, id);
    for (std::string const& name : *static_cast<std::vector<std::string>*>(data))
        wl_resource_post_event(resource, 0, name.c_str());
    wl_resource_post_event(resource, 1);
}

void bindPrimary(wl_client* client, void* data, std::uint32_t version, std::uint32_t id)
{
    wl_resource* const resource = bound(client, kde_primary_output_v1_interface, version, id);
    wl_resource_post_event(resource, 0, static_cast<std::string*>(data)->c_str());
}

} // namespace

ScriptedCompositor::ScriptedCompositor(std::string const& path) : display(wl_display_create())
{
    wl_display_add_socket_fd(display, listenAt(path));
    thread = std::thread([this] {
        for (bool ends = false; !ends;) {
            wl_display_flush_clients(display);
            wl_event_loop_dispatch(wl_display_get_event_loop(display), 5);
            std::vector<std::function<void()>> now;
            {
                std::scoped_lock const guard(lock);
                now.swap(waiting);
                ends = isEnding;
            }
            for (auto const& work : now)
                work();
        }
        wl_display_destroy_clients(display);
        wl_display_destroy(display);
    });
}

ScriptedCompositor::~ScriptedCompositor()
{
    {
        std::scoped_lock const guard(lock);
        isEnding = true;
    }
    thread.join();
}

void ScriptedCompositor::onThread(std::function<void()> work)
{
    std::promise<void> done;
    {
        std::scoped_lock const guard(lock);
        waiting.emplace_back([&] {
            work();
            done.set_value();
        });
    }
    done.get_future().wait();
}

void ScriptedCompositor::addOutput(std::string const& name, int x)
{
    onThread([&] {
        Output& output = outputs[name];
        output = {.name = name, .x = x};
        output.global = wl_global_create(display, &wl_output_interface, 4, &output, bindOutput);
    });
}

void ScriptedCompositor::removeOutput(std::string const& name)
{
    onThread([&] {
        wl_global_destroy(outputs.at(name).global);
        outputs.at(name).global = nullptr;
    });
}

void ScriptedCompositor::setOrder(std::vector<std::string> names)
{
    onThread([&] {
        order = std::move(names);
        wl_global_create(display, &kde_output_order_v1_interface, 1, &order, bindOrder);
    });
}

void ScriptedCompositor::setPrimary(std::string name)
{
    onThread([&] {
        primary = std::move(name);
        wl_global_create(display, &kde_primary_output_v1_interface, 1, &primary, bindPrimary);
    });
}

} // namespace zelvo::test
