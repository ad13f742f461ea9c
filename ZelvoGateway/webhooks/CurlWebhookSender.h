#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/webhooks/WebhookSender.h"

#include <memory>

namespace zelvo::service {

/// Sends with libcurl, on one separate thread that starts with the first request. Every address is judged
/// when it is connected to, so a name that leads elsewhere by then is refused as well; proxies are not used,
/// since they look names up by themselves.
class CurlWebhookSender final : public WebhookSender {
public:
    explicit CurlWebhookSender(WebhookRules const& rules);
    CurlWebhookSender(CurlWebhookSender const&) = delete;
    CurlWebhookSender& operator=(CurlWebhookSender const&) = delete;
    ~CurlWebhookSender() override;

    Task<WebhookAnswer> send(WebhookRequest request) override;
    void stop() override;

private:
    class Loop;
    std::unique_ptr<Loop> loop;
};

} // namespace zelvo::service
