#pragma once

#include "base/AsyncCondition.h"
#include "platform/WebSocket.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace zelvo {

/// A socket whose peer is the test.
class FakeWebSocket final : public WebSocket {
public:
    WebSocketRequest request;
    std::vector<std::string> sent;                       ///< messages from the client, in order
    std::vector<std::function<void(bool)>> pendingPings; ///< unanswered pings
    int pings = 0;
    bool refusesToSend = false;
    bool held = false; ///< result of readingWasHeld()
    std::optional<int> status;
    std::optional<int> code;
    std::optional<std::string> reason;
    bool cancelled = false;
    std::optional<int> cancelCode;
    int receives = 0; ///< calls of receive()

    /// The peer sends a message.
    void deliver(std::string text, WebSocketMessage::Kind kind = WebSocketMessage::Kind::text)
    {
        arrivals.notifyAll([&] { inbox.push_back({kind, std::move(text)}); });
    }
    /// The session ends; pending pings fail.
    void fail(NetworkFailure::Kind kind, std::string description = "ended")
    {
        arrivals.notifyAll([&] {
            if (!ended)
                ended = NetworkFailure{kind, std::move(description)};
        });
        while (!pendingPings.empty())
            answerPing(false);
    }
    void answerPing(bool ok = true)
    {
        auto const answer = pendingPings.front();
        pendingPings.erase(pendingPings.begin());
        answer(ok);
    }

    Task<WebSocketMessage> receive() override
    {
        ++receives;
        co_await arrivals.wait([this] { return !inbox.empty() || ended; });
        if (inbox.empty())
            throw *ended;
        WebSocketMessage message = std::move(inbox.front());
        inbox.pop_front();
        co_return message;
    }
    Task<> send(std::string text) override
    {
        if (refusesToSend || ended)
            throw NetworkFailure{NetworkFailure::Kind::lost, "not sent"};
        sent.push_back(std::move(text));
        co_return;
    }
    void sendPing(std::function<void(bool)> onPong) override
    {
        ++pings;
        pendingPings.push_back(std::move(onPong));
    }
    bool readingWasHeld() const override { return held; }
    void cancel(std::optional<int> closeCode) override
    {
        if (cancelled)
            return;
        cancelled = true;
        cancelCode = closeCode;
        fail(NetworkFailure::Kind::cancelled);
    }
    std::optional<int> httpStatus() const override { return status; }
    std::optional<int> closeCode() const override { return code; }
    std::optional<std::string> closeReason() const override { return reason; }

private:
    AsyncCondition arrivals;
    std::deque<WebSocketMessage> inbox;
    std::optional<NetworkFailure> ended;
};

class FakeWebSocketOpener final : public WebSocketOpener {
public:
    std::vector<std::shared_ptr<FakeWebSocket>> opened; ///< newest last
    bool refusesToSend = false;                         ///< for later sockets

    FakeWebSocket& last() { return *opened.back(); }

    std::shared_ptr<WebSocket> open(WebSocketRequest request) override
    {
        auto socket = std::make_shared<FakeWebSocket>();
        socket->request = std::move(request);
        socket->refusesToSend = refusesToSend;
        opened.push_back(socket);
        return socket;
    }
};

} // namespace zelvo
