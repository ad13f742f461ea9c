#pragma once

#include "ZelvoGateway/webhooks/WebhookSender.h"

#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <functional>
#include <memory>
#include <vector>

namespace zelvo::service {

/// Keeps what it is to send, and answers as a test wants. Thread: one at a time.
class FakeWebhookSender final : public WebhookSender {
public:
    std::vector<WebhookRequest> sent;                    ///< what a test reads
    std::function<bool(WebhookRequest const&)> isSilent; ///< whether a request gets no answer until release()
    std::function<WebhookAnswer(WebhookRequest const&)> answer = [](WebhookRequest const&) {
        return WebhookAnswer{.status = 200, .error = {}};
    };

    Task<WebhookAnswer> send(WebhookRequest request) override
    {
        sent.push_back(request);
        if (isSilent && isSilent(request)) {
            auto const timer = std::make_shared<asio::steady_timer>(co_await asio::this_coro::executor,
                                                                    asio::steady_timer::time_point::max());
            silent.push_back(timer);
            try {
                co_await timer->async_wait(asio::use_awaitable);
            } catch (boost::system::system_error const&) { // Released.
            }
        }
        co_return answer(request);
    }
    void stop() override { release(); }
    /// Answers all that are silent.
    void release()
    {
        for (auto const& timer : std::exchange(silent, {}))
            timer->cancel();
    }

private:
    std::vector<std::shared_ptr<asio::steady_timer>> silent;
};

} // namespace zelvo::service
