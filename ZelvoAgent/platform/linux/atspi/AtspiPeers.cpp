#include "platform/linux/atspi/AtspiPeers.h"

#include "platform/linux/atspi/AtspiMessages.h"

#include <utility>

namespace zelvo {

AtspiPeers::AtspiPeers(AtspiExchange& exchange, AtspiLink& bus, PeerId daemon)
    : exchange(exchange), bus(bus), daemon(daemon)
{
}

void AtspiPeers::addApplication(PeerId peer, std::int32_t pid)
{
    processes[exchange.nameOf(peer)] = {
        .peer = peer, .pid = pid, .isApplication = true, .isAsked = true, .isKnown = true, .isAllowed = true};
    ownPid = pid;
}

void AtspiPeers::startAnew()
{
    for (auto& [name, process] : processes)
        if (!process.isApplication) {
            process.isAllowed.reset();
            process.isAsked = process.isKnown;
        }
}

std::optional<std::int32_t> AtspiPeers::processOf(PeerId peer) const
{
    auto const known = processes.find(exchange.nameOf(peer));
    return known == processes.end() ? std::nullopt : known->second.pid;
}

AtspiPeers::PeerProcess& AtspiPeers::processNamed(std::string const& name)
{
    auto const [entry, isNew] = processes.try_emplace(name);
    if (isNew)
        entry->second.peer = exchange.addPeer(name, bus);
    return entry->second;
}

bool AtspiPeers::isNew(std::string const& name) const
{
    auto const known = processes.find(name);
    return known == processes.end() ? processes.size() < maxPeers : !known->second.isAsked;
}

void AtspiPeers::identify(std::string const& name, std::function<void()> onKnown)
{
    if (!isNew(name))
        return;
    processNamed(name).isAsked = true;
    auto call = bus.newCall("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                            "GetConnectionUnixProcessID");
    if (call)
        sd_bus_message_append(call.get(), "s", name.c_str());
    exchange.ask(daemon, std::move(call), [this, name, onKnown = std::move(onKnown)](sd_bus_message* reply) {
        PeerProcess& known = processNamed(name);
        known.isKnown = true;
        if (auto const pid = reply ? readUnsigned(reply) : std::nullopt)
            known.pid = static_cast<std::int32_t>(*pid);
        onKnown();
    });
}

bool AtspiPeers::isSettled(std::string const& name) const
{
    auto const known = processes.find(name);
    return known == processes.end() || known->second.isKnown;
}

std::optional<AtspiPeers::PeerId> AtspiPeers::readablePeer(std::string const& name)
{
    auto const known = processes.find(name);
    if (known == processes.end())
        return std::nullopt;
    PeerProcess& process = known->second;
    if (!process.isAllowed)
        process.isAllowed =
            process.pid && (process.pid == ownPid || (allowsProcess && allowsProcess(*process.pid)));
    return *process.isAllowed ? std::optional(process.peer) : std::nullopt;
}

} // namespace zelvo
