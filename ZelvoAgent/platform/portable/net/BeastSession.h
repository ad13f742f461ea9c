#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "base/LockedBox.h"
#include "platform/WebSocket.h"
#include "platform/portable/net/MessageAssembly.h"
#include "platform/portable/net/MessageInbox.h"
#include "platform/portable/net/PendingPings.h"

#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/system/error_code.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

class TransportConnector;

/// The whole life of one WebSocket. Pending operations keep the session alive; its owner may be destroyed at
/// any time.
/// Thread: the agent's, except where members are marked otherwise.
class BeastSession : public std::enable_shared_from_this<BeastSession> {
public:
    using OnMessage = asio::any_completion_handler<void(std::exception_ptr, WebSocketMessage)>;
    using OnSent = asio::any_completion_handler<void(std::exception_ptr)>;

    /// What the peer has answered.
    struct PeerAnswers {
        std::optional<int> httpStatus;
        std::optional<int> closeCode;
        std::optional<std::string> closeReason;
    };

    BeastSession(Contexts contexts, WebSocketRequest request);
    ~BeastSession();
    BeastSession(BeastSession const&) = delete;
    BeastSession& operator=(BeastSession const&) = delete;

    Task<> connect();
    void receive(std::uint64_t id, OnMessage onMessage);
    void abandonReceive(std::uint64_t id);
    void send(std::string text, OnSent onSent);
    void ping(PendingPings::OnPong onPong);
    void cancel(std::optional<int> code);
    void ownerGone();

    // Any thread.
    Executor executor() const { return contexts.agent; }
    PeerAnswers peerAnswers() const { return answers.get(); }
    bool readingWasHeld() const { return held; }
    std::uint64_t nextReceiveId() { return ++receiveIds; }

private:
    using ErrorCode = boost::system::error_code;
    enum class Phase { connecting, open, closing, dropped };
    struct Outgoing {
        std::string text;
        OnSent onSent; ///< empty once it was called
    };
    struct Stream;

    Task<> openConnection();
    void prepareStream();
    void opened();

    void readNext();
    void readDone(ErrorCode error, std::size_t count);
    void writeNext();
    void writeDone(ErrorCode error);
    void pingNext();
    void pongArrived(std::string_view payload);
    void peerClosed();

    void end(NetworkFailure problem);
    void fail(NetworkFailure problem);
    void drop();
    void deliver();
    OnMessage takeReceiver();
    void setDeadline(Duration time, void (BeastSession::*onDue)());
    void connectingTookTooLong();
    void throwIfEnded() const;

    Contexts contexts;
    WebSocketRequest request;
    std::unique_ptr<Stream> stream;
    std::unique_ptr<TransportConnector> connector;
    asio::steady_timer deadline;
    std::uint64_t deadlineRound = 0;

    Phase phase = Phase::connecting;
    std::optional<NetworkFailure> failure; // set once the session has ended for its owner
    MessageInbox inbox;
    MessageAssembly assembly;
    std::optional<OnMessage> receiver; // An emptied OnMessage can't be assigned to (Boost 1.81).
    std::uint64_t receiverId = 0;
    std::deque<Outgoing> outgoing;
    PendingPings pings;
    bool reading = false;
    bool writing = false;
    bool pinging = false;
    bool isHolding = false;

    std::atomic<bool> held = false;            // any thread
    std::atomic<std::uint64_t> receiveIds = 0; // any thread
    LockedBox<PeerAnswers> answers;            // any thread
};

} // namespace zelvo
