#include "platform/linux/atspi/AtspiExchange.h"

#include <algorithm>
#include <string_view>

namespace zelvo {

namespace {

using std::chrono::steady_clock;

/// Longest wait inside sd-bus, so that our own deadlines are kept.
constexpr Duration maxWait = 20ms;
/// Work in flight, as the peer's time.
constexpr Duration workInFlight = 50ms;

/// Whether the bus reports that the name has no owner any more.
bool saysGone(sd_bus_error const& error)
{
    std::string_view const name = error.name ? error.name : "";
    return name == "org.freedesktop.DBus.Error.ServiceUnknown" ||
           name == "org.freedesktop.DBus.Error.NameHasNoOwner" ||
           name == "org.freedesktop.DBus.Error.Disconnected";
}

} // namespace

AtspiLink& AtspiExchange::addLink(std::unique_ptr<AtspiLink> link)
{
    links.push_back(std::move(link));
    return *links.back();
}

AtspiExchange::PeerId AtspiExchange::addPeer(std::string name, AtspiLink& link)
{
    peers.push_back(std::make_unique<Peer>(Peer{.name = std::move(name), .link = &link}));
    return static_cast<PeerId>(peers.size() - 1);
}

void AtspiExchange::trustAgain()
{
    missesAnswers = false;
    for (auto const& peer : peers)
        peer->isSilent = false;
}

void AtspiExchange::cancelAll()
{
    for (auto const& peer : peers)
        peer->calls.clear();
}

void AtspiExchange::ask(PeerId id, BusMessagePtr call, OnAnswer onAnswer)
{
    Peer& peer = *peers[id];
    peer.isGone |= !peer.link->isOpen();
    if (!call || peer.isGone)
        return onAnswer(nullptr);
    auto const place = peer.calls.emplace(peer.calls.end());
    place->onAnswer = std::move(onAnswer);
    place->sentAt = steady_clock::now();
    place->ticket = peer.link->send(
        call.get(), [this, &peer, place](sd_bus_message* reply) { takeReply(peer, place, reply); });
    if (place->ticket) {
        ++sent;
        return;
    }
    OnAnswer const unanswered = std::move(place->onAnswer);
    peer.calls.erase(place);
    unanswered(nullptr);
}

void AtspiExchange::takeReply(Peer& peer, Calls::iterator call, sd_bus_message* reply)
{
    auto const now = steady_clock::now();
    Duration const took = now - std::max(peer.lastReply, peer.calls.front().sentAt);
    peer.pace = (peer.pace * 15 + took) / 16;
    peer.lastReply = now;
    OnAnswer const onAnswer = std::move(call->onAnswer);
    peer.calls.erase(call);
    sd_bus_error const* const error = sd_bus_message_get_error(reply);
    if (error && saysGone(*error))
        peer.isGone = true;
    onAnswer(error ? nullptr : reply);
}

bool AtspiExchange::hasRoom(PeerId id) const
{
    Peer const& peer = *peers[id];
    auto const answered = static_cast<std::size_t>(workInFlight / std::max<Duration>(peer.pace, 1us));
    return peer.calls.size() < std::clamp<std::size_t>(answered, 1, maxCallsInFlight);
}

void AtspiExchange::process()
{
    for (auto const& link : links) {
        if (!link->isOpen())
            continue;
        link->process();
        if (link->isOpen())
            continue;
        for (auto const& peer : peers)
            if (peer->link == link.get()) {
                peer->isGone = true;
                dropCalls(*peer);
            }
    }
}

void AtspiExchange::await(PeerId id, std::function<bool()> const& isDone)
{
    Peer& peer = *peers[id];
    while (!isDone() && !peer.calls.empty()) {
        process();
        if (isDone())
            return;
        Duration const left = endOfPatience(peer) - steady_clock::now();
        if (left <= 0s) {
            peer.isSilent = true;
            missesAnswers = true;
            givingUp = true;
            dropCalls(peer);
            givingUp = false;
            return;
        }
        peer.link->wait(std::min(left, maxWait));
    }
}

void AtspiExchange::dropCalls(Peer& peer)
{
    // A callback may send new questions.
    auto dropped = std::exchange(peer.calls, {});
    for (OpenCall& call : dropped)
        call.ticket.reset();
    for (OpenCall const& call : dropped)
        call.onAnswer(nullptr);
}

AtspiExchange::SteadyTime AtspiExchange::endOfPatience(Peer const& peer) const
{
    SteadyTime const since =
        peer.calls.empty() ? peer.lastReply : std::max(peer.lastReply, peer.calls.front().sentAt);
    SteadyTime const end = since + patience;
    return deadline ? std::min(end, *deadline) : end;
}

} // namespace zelvo
