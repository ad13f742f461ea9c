#include "desktop/wayland/eis/ScriptedEis.h"

#include <fcntl.h>

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <utility>

namespace zelvo::test {

namespace {

template <class... Parts>
std::string words(Parts const&... parts)
{
    std::ostringstream text;
    ((text << ' ' << parts), ...);
    return text.str().substr(1);
}

bool isNow(std::uint64_t microseconds)
{
    auto const now = std::chrono::steady_clock::now().time_since_epoch();
    auto const age = std::chrono::duration_cast<std::chrono::microseconds>(now).count() -
                     static_cast<std::int64_t>(microseconds);
    return age >= 0 && age < 5'000'000;
}

} // namespace

ScriptedEis::ScriptedEis(asio::io_context& io) : server(eis_new(nullptr)), descriptor(io)
{
    eis_log_set_priority(server, EIS_LOG_PRIORITY_WARNING);
    eis_setup_backend_fd(server);
    descriptor.assign(::fcntl(eis_get_fd(server), F_DUPFD_CLOEXEC, 0)); // The library closes its own.
    wait();
}

ScriptedEis::~ScriptedEis()
{
    for (auto const& [name, device] : devices)
        eis_device_unref(device);
    if (seat)
        eis_seat_unref(seat);
    if (client)
        eis_client_unref(client);
    eis_unref(server);
}

UniqueFd ScriptedEis::connect()
{
    return UniqueFd(eis_backend_fd_add_client(server));
}

void ScriptedEis::wait()
{
    descriptor.async_wait(asio::posix::stream_descriptor::wait_read,
                          [this](boost::system::error_code failure) {
                              if (failure || !reads)
                                  return;
                              dispatch();
                              wait();
                          });
}

void ScriptedEis::setReading(bool isReading)
{
    if (!std::exchange(reads, isReading) && isReading)
        wait();
}

void ScriptedEis::dispatch()
{
    eis_dispatch(server);
    while (eis_event* const event = eis_get_event(server)) {
        handle(event);
        eis_event_unref(event);
    }
}

void ScriptedEis::handle(eis_event* event)
{
    switch (eis_event_get_type(event)) {
    case EIS_EVENT_CLIENT_CONNECT:
        return welcome(eis_event_get_client(event));
    case EIS_EVENT_CLIENT_DISCONNECT:
        isConnected = false;
        return;
    case EIS_EVENT_SEAT_BIND:
        isBound = true;
        return;
    case EIS_EVENT_DEVICE_START_EMULATING:
        return note(event, "start");
    case EIS_EVENT_DEVICE_STOP_EMULATING:
        return note(event, "stop");
    case EIS_EVENT_FRAME:
        frames += isNow(eis_event_get_time(event));
        return;
    case EIS_EVENT_POINTER_MOTION_ABSOLUTE:
        ++events;
        return note(event, words("move", eis_event_pointer_get_absolute_x(event),
                                 eis_event_pointer_get_absolute_y(event)));
    case EIS_EVENT_BUTTON_BUTTON:
        ++events;
        return note(event, words(eis_event_button_get_is_press(event) ? "press" : "let go",
                                 eis_event_button_get_button(event)));
    case EIS_EVENT_SCROLL_DISCRETE:
        ++events;
        return note(event, words("scroll", eis_event_scroll_get_discrete_dx(event),
                                 eis_event_scroll_get_discrete_dy(event)));
    case EIS_EVENT_KEYBOARD_KEY:
        ++events;
        return note(event, words(eis_event_keyboard_get_key_is_press(event) ? "down" : "up",
                                 eis_event_keyboard_get_key(event)));
    default:
        return;
    }
}

void ScriptedEis::welcome(eis_client* next)
{
    client = eis_client_ref(next);
    isConnected = true;
    eis_client_connect(client);
    seat = eis_client_new_seat(client, "seat");
    for (auto const capability : {EIS_DEVICE_CAP_POINTER, EIS_DEVICE_CAP_POINTER_ABSOLUTE,
                                  EIS_DEVICE_CAP_KEYBOARD, EIS_DEVICE_CAP_SCROLL, EIS_DEVICE_CAP_BUTTON})
        eis_seat_configure_capability(seat, capability);
    eis_seat_add(seat);
}

void ScriptedEis::note(eis_event* event, std::string const& what)
{
    log.push_back(eis_device_get_name(eis_event_get_device(event)) + (": " + what));
}

eis_device* ScriptedEis::make(std::string const& name)
{
    eis_device* const device = eis_seat_new_device(seat);
    eis_device_configure_name(device, name.c_str());
    return device;
}

void ScriptedEis::add(std::string const& name, eis_device* device)
{
    eis_device_add(device);
    eis_device_resume(device);
    devices[name] = device;
}

void ScriptedEis::addKeyboard(std::string const& name)
{
    eis_device* const device = make(name);
    eis_device_configure_capability(device, EIS_DEVICE_CAP_KEYBOARD);
    add(name, device);
}

void ScriptedEis::addPointer(std::string const& name, std::vector<EisRegion> const& regions)
{
    eis_device* const device = make(name);
    for (auto const capability :
         {EIS_DEVICE_CAP_POINTER_ABSOLUTE, EIS_DEVICE_CAP_SCROLL, EIS_DEVICE_CAP_BUTTON})
        eis_device_configure_capability(device, capability);
    for (EisRegion const& one : regions) {
        eis_region* const region = eis_device_new_region(device);
        eis_region_set_offset(region, static_cast<std::uint32_t>(one.area.x),
                              static_cast<std::uint32_t>(one.area.y));
        eis_region_set_size(region, static_cast<std::uint32_t>(one.area.width),
                            static_cast<std::uint32_t>(one.area.height));
        if (!one.mapping.empty())
            eis_region_set_mapping_id(region, one.mapping.c_str());
        eis_region_add(region);
        eis_region_unref(region);
    }
    add(name, device);
}

void ScriptedEis::remove(std::string const& name)
{
    eis_device_remove(devices.at(name));
    eis_device_unref(devices.at(name));
    devices.erase(name);
}

} // namespace zelvo::test
