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

/// Calls to several peers over a few connections, each peer with its own patience: a peer that is silent for
/// that long since its last reply, while calls wait for it, is given up. Its calls in flight then end
/// unanswered, and callers should ask it one question at a time. Thread: one.
class AtspiExchange {
public:
    using PeerId = std::uint32_t;
    using SteadyTime = std::chrono::steady_clock::time_point;
    /// Receives the reply; null if there is none or it is an error. Called once for each call, possibly
    /// before `ask` returns.
    using OnAnswer = std::function<void(sd_bus_message*)>;

    static constexpr std::size_t maxCallsInFlight = 128;

    explicit AtspiExchange(Duration patience) : patience(patience) {}

    /// The link lives as long as the exchange.
    AtspiLink& addLink(std::unique_ptr<AtspiLink> link);
    PeerId addPeer(std::string name, AtspiLink& link);
    void moveTo(PeerId peer, AtspiLink& link) { peers[peer]->link = &link; }

    AtspiLink& linkOf(PeerId peer) const { return *peers[peer]->link; }
    std::string const& nameOf(PeerId peer) const { return peers[peer]->name; }
    /// Whether the peer or its connection has ended.
    bool isGone(PeerId peer) const { return peers[peer]->isGone; }
    /// Whether the peer was given up since the last `trustAgain`.
    bool isSilent(PeerId peer) const { return peers[peer]->isSilent; }
    void trustAgain();
    /// Whether, since `trustAgain`, a peer was given up or `noteMissing` was called.
    bool isMissingAnswers() const { return missesAnswers; }
    void noteMissing() { missesAnswers = true; }
    /// Drops all calls in flight; their callbacks are not called.
    void cancelAll();
    /// True while a peer is being given up: its calls then end with null although the peer might still
    /// answer.
    bool isGivingUp() const { return givingUp; }
    bool hasDeadline() const { return deadline.has_value(); }
    std::optional<SteadyTime> currentDeadline() const { return deadline; }
    /// Nothing waits beyond this moment.
    void setDeadline(std::optional<SteadyTime> moment) { deadline = moment; }
    /// Time until the deadline.
    Duration timeLeft() const
    {
        return deadline ? *deadline - std::chrono::steady_clock::now() : Duration::max();
    }
    bool isOver() const { return deadline && std::chrono::steady_clock::now() >= *deadline; }

    void ask(PeerId id, BusMessagePtr call, OnAnswer onAnswer);
    /// Whether another call may be sent now. The limit is what the peer answers in 50 ms, so that a slow peer
    /// has little left to do after its reader has gone.
    bool hasRoom(PeerId id) const;
    /// Processes replies until `isDone`, or until the peer is given up.
    void await(PeerId id, std::function<bool()> const& isDone);
    /// Processes the replies that have arrived, without waiting.
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
    std::vector<std::unique_ptr<Peer>> peers; // Destroyed before the links.
    bool givingUp = false;
    bool missesAnswers = false;
    std::uint64_t sent = 0;
};

} // namespace zelvo
