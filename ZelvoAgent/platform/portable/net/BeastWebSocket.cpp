#include "platform/portable/net/BeastWebSocket.h"

#include "platform/portable/net/BeastSession.h"

#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <exception>
#include <memory>
#include <utility>

namespace zelvo {

namespace {

/// A handler that finishes on its caller's executor, never inside the call that starts it.
template <class Handler>
auto atHome(Handler handler)
{
    auto const home = asio::get_associated_executor(handler);
    return [home, handler = std::move(handler)](auto... results) mutable {
        asio::post(home, [handler = std::move(handler), ... results = std::move(results)]() mutable {
            auto slot = asio::get_associated_cancellation_slot(handler);
            if (slot.is_connected())
                slot.clear();
            std::move(handler)(std::move(results)...);
        });
    };
}

/// A pending receive does not own the session, so a loop that ends early leaves nothing behind.
Task<WebSocketMessage> receiveFrom(std::shared_ptr<BeastSession> session)
{
    auto start = [session = std::move(session)](auto handler) mutable {
        std::uint64_t const id = session->nextReceiveId();
        Executor const executor = session->executor();
        auto slot = asio::get_associated_cancellation_slot(handler);
        if (slot.is_connected())
            slot.assign([weak = std::weak_ptr(session), executor, id](asio::cancellation_type) {
                asio::dispatch(executor, [weak, id] {
                    if (auto const alive = weak.lock())
                        alive->abandonReceive(id);
                });
            });
        asio::dispatch(executor, [session = std::move(session), id,
                                  onMessage = BeastSession::OnMessage(atHome(std::move(handler)))]() mutable {
            session->receive(id, std::move(onMessage));
        });
    };
    co_return co_await asio::async_initiate<decltype(asio::use_awaitable),
                                            void(std::exception_ptr, WebSocketMessage)>(std::move(start),
                                                                                        asio::use_awaitable);
}

Task<> sendThrough(std::shared_ptr<BeastSession> session, std::string text)
{
    auto start = [session = std::move(session), text = std::move(text)](auto handler) mutable {
        Executor const executor = session->executor();
        asio::dispatch(executor, [session = std::move(session), text = std::move(text),
                                  onSent = BeastSession::OnSent(atHome(std::move(handler)))]() mutable {
            session->send(std::move(text), std::move(onSent));
        });
    };
    co_await asio::async_initiate<decltype(asio::use_awaitable), void(std::exception_ptr)>(
        std::move(start), asio::use_awaitable);
}

class BeastWebSocket final : public WebSocket {
public:
    BeastWebSocket(Contexts contexts, WebSocketRequest request)
        : session(std::make_shared<BeastSession>(contexts, std::move(request)))
    {
        spawn(session->executor(), [session = session] { return session->connect(); });
    }
    ~BeastWebSocket() override
    {
        asio::dispatch(session->executor(), [session = session] { session->ownerGone(); });
    }
    BeastWebSocket(BeastWebSocket const&) = delete;
    BeastWebSocket& operator=(BeastWebSocket const&) = delete;

    Task<WebSocketMessage> receive() override { return receiveFrom(session); }
    Task<> send(std::string text) override { return sendThrough(session, std::move(text)); }
    void sendPing(std::function<void(bool)> onPong) override
    {
        asio::post(session->executor(), [session = session, onPong = std::move(onPong)]() mutable {
            session->ping(std::move(onPong));
        });
    }
    bool readingWasHeld() const override { return session->readingWasHeld(); }
    void cancel(std::optional<int> closeCode) override
    {
        asio::dispatch(session->executor(), [session = session, closeCode] { session->cancel(closeCode); });
    }
    std::optional<int> httpStatus() const override { return session->peerAnswers().httpStatus; }
    std::optional<int> closeCode() const override { return session->peerAnswers().closeCode; }
    std::optional<std::string> closeReason() const override { return session->peerAnswers().closeReason; }

private:
    std::shared_ptr<BeastSession> session;
};

} // namespace

BeastWebSocketOpener::BeastWebSocketOpener(Contexts contexts) : contexts(std::move(contexts)) {}

std::shared_ptr<WebSocket> BeastWebSocketOpener::open(WebSocketRequest request)
{
    return std::make_shared<BeastWebSocket>(contexts, std::move(request));
}

} // namespace zelvo
