#pragma once

#include "base/Task.h"

#include <string>
#include <utility>
#include <vector>

namespace zelvo::service {

/// A POST with a JSON body.
struct WebhookRequest {
    std::string url;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
};

/// How an attempt ended.
struct WebhookAnswer {
    int status = 0;    ///< 0 if no answer came
    std::string error; ///< why not; empty if one came
};

/// Sends one request, without following redirects, within the limits of WebhookRules. Any number at a time;
/// one that gets no answer delays no other. Thread: any; resumes the caller on its executor. Never throws.
/// Made by: CurlWebhookSender, tests/gateway/support/FakeWebhookSender.
class WebhookSender {
public:
    virtual ~WebhookSender() = default;
    virtual Task<WebhookAnswer> send(WebhookRequest request) = 0;
    /// Ends every attempt, for good.
    virtual void stop() = 0;
};

} // namespace zelvo::service
