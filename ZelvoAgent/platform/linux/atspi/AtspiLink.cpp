#include "platform/linux/atspi/AtspiLink.h"

#include <sys/socket.h>

#include <algorithm>
#include <tuple>

namespace zelvo {

namespace {

/// A peer that sends without end must not keep its reader from checking the clock.
constexpr int maxMessagesAtOnce = 256;

int takeReply(sd_bus_message* reply, void* data, sd_bus_error*)
{
    // The callback may destroy the slot that owns it.
    AtspiLink::OnReply const onReply = std::move(*static_cast<AtspiLink::OnReply*>(data));
    if (onReply)
        onReply(reply);
    return 1;
}

void forgetReply(void* data)
{
    delete static_cast<AtspiLink::OnReply*>(data);
}

} // namespace

std::unique_ptr<AtspiLink> AtspiLink::toBus(std::string const& address)
{
    BusPtr bus = openBusAt(address);
    return bus ? std::make_unique<AtspiLink>(std::move(bus), false) : nullptr;
}

std::unique_ptr<AtspiLink> AtspiLink::toApplication(std::string const& address)
{
    sd_bus* raw = nullptr;
    if (sd_bus_new(&raw) < 0)
        return nullptr;
    BusPtr bus(raw);
    if (sd_bus_set_address(raw, address.c_str()) < 0 || sd_bus_start(raw) < 0)
        return nullptr;
    return std::make_unique<AtspiLink>(std::move(bus), true);
}

std::optional<std::int32_t> AtspiLink::peerProcess() const
{
    ucred peer{};
    socklen_t size = sizeof peer;
    int const descriptor = bus ? sd_bus_get_fd(bus.get()) : -1;
    bool const isKnown =
        descriptor >= 0 && ::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0;
    return isKnown ? std::optional(peer.pid) : std::nullopt;
}

BusMessagePtr AtspiLink::newCall(std::string const& destination,
                                 std::string const& path,
                                 char const* interface,
                                 char const* member) const
{
    sd_bus_message* message = nullptr;
    if (!bus || sd_bus_message_new_method_call(bus.get(), &message, direct ? nullptr : destination.c_str(),
                                               path.c_str(), interface, member) < 0)
        return nullptr;
    sd_bus_message_set_auto_start(message, 0);
    return BusMessagePtr(message);
}

AtspiLink::Ticket AtspiLink::send(sd_bus_message* call, OnReply onReply)
{
    if (!bus || !call)
        return nullptr;
    auto data = std::make_unique<OnReply>(std::move(onReply));
    sd_bus_slot* slot = nullptr;
    // No sd-bus time-outs: they stop firing when many calls are in flight.
    if (sd_bus_call_async(bus.get(), &slot, call, takeReply, data.get(), UINT64_MAX) < 0)
        return nullptr;
    std::ignore = data.release(); // Now the slot's.
    sd_bus_slot_set_destroy_callback(slot, forgetReply);
    return Ticket(slot, [](void* raw) { sd_bus_slot_unref(static_cast<sd_bus_slot*>(raw)); });
}

bool AtspiLink::process()
{
    for (int taken = 0; taken < maxMessagesAtOnce; ++taken) {
        int const code = bus ? sd_bus_process(bus.get(), nullptr) : -1;
        if (code == 0)
            return taken > 0;
        if (code < 0) {
            lose();
            return true;
        }
    }
    return true;
}

void AtspiLink::wait(Duration maxTime)
{
    if (!bus)
        return;
    auto const time = std::chrono::duration_cast<std::chrono::microseconds>(maxTime).count();
    sd_bus_wait(bus.get(), static_cast<std::uint64_t>(std::max<std::int64_t>(time, 0)));
}

} // namespace zelvo
