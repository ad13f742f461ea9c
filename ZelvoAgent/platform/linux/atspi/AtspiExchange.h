#pragma once

#include "platform/linux/atspi/AtspiLink.h"

#include <chrono>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Calls to several peers over a few connections, with a patience each: a peer that has been silent for that
/// long since its last reply, while calls wait for it, is given up. Then nothing of what was in flight will
/// be answered, and it should be asked one thing at a time. Thread: one.
class AtspiExchange {
public:
    using PeerId = std::uint32_t;
    using SteadyTime = std::chrono::steady_clock::time_point;
    /// Sees the reply; null when there is none or it is an error. Called once for each call, possibly before
    /// `ask` returns.
    using OnAnswer = std::function<void(sd_bus_message*)>;

    static constexpr std::size_t maxCallsInFlight = 128;

    explicit AtspiExchange(Duration patience) : patience(patience) {}

    /// The link lives as long as the exchange.
    AtspiLink& addLink(std::unique_ptr<AtspiLink> link);
    PeerId addPeer(std::string name, AtspiLink& link);
    void moveTo(PeerId peer, AtspiLink& link) { peers[peer]->link = &link; }

    AtspiLink& linkOf(PeerId peer) const { return *peers[peer]->link; }
    std::string const& nameOf(PeerId peer) const { return peers[peer]->name; }
    /// Has it ended, or its connection?
    bool isGone(PeerId peer) const { return peers[peer]->isGone; }
    /// Has it been given up since the last `trustAgain`?
    bool isSilent(PeerId peer) const { return peers[peer]->isSilent; }
    void trustAgain();
    /// Has any peer been given up since then, or something else not been told that was there?
    bool isMissingAnswers() const { return missesAnswers; }
    void noteMissing() { missesAnswers = true; }
    /// Lets go of all calls in flight, which are not answered any more.
    void cancelAll();
    /// Is a peer being given up, so that what is answered with nothing was merely not waited for any longer?
    bool isGivingUp() const { return givingUp; }
    bool hasDeadline() const { return deadline.has_value(); }
    std::optional<SteadyTime> currentDeadline() const { return deadline; }
    /// Nothing is waited for after that moment.
    void setDeadline(std::optional<SteadyTime> moment) { deadline = moment; }
    /// Until the deadline.
    Duration timeLeft() const
    {
        return deadline ? *deadline - std::chrono::steady_clock::now() : Duration::max();
    }
    bool isOver() const { return deadline && std::chrono::steady_clock::now() >= *deadline; }

    void ask(PeerId id, BusMessagePtr call, OnAnswer onAnswer);
    /// May another call go out now? As many as the peer answers in a twentieth of a second, so that a slow
    /// one is left with little to do when its reader has gone.
    bool hasRoom(PeerId id) const;
    /// Takes replies until it is done, or the peer is given up.
    void await(PeerId id, std::function<bool()> const& isDone);
    /// Takes what has come, without waiting.
    void process();

    std::uint64_t messagesSent() const { return sent; }

private:
    struct OpenCall {
        OnAnswer onAnswer;
        SteadyTime sentAt;
        AtspiLink::Ticket ticket;
    };
    using Calls = std::list<OpenCall>;
    struct Peer {
        std::string name;
        AtspiLink* link;
        Calls calls = {};
        SteadyTime lastReply = {};
        Duration pace = 5ms; ///< between two replies, averaged
        bool isGone = false;
        bool isSilent = false;
    };

    void takeReply(Peer& peer, Calls::iterator call, sd_bus_message* reply);
    static void dropCalls(Peer& peer);
    SteadyTime endOfPatience(Peer const& peer) const;

    Duration patience;
    std::optional<SteadyTime> deadline;
    std::vector<std::unique_ptr<AtspiLink>> links;
    std::vector<std::unique_ptr<Peer>> peers; // Gone before the links are.
    bool givingUp = false;
    bool missesAnswers = false;
    std::uint64_t sent = 0;
};

} // namespace zelvo
