#pragma once

#include "ZelvoGateway/api/Endpoints.h"
#include "ZelvoGateway/webhooks/WebhookService.h"

#include <vector>

namespace zelvo::service {

/// "/v1/webhooks". A webhook gets the events of all connections, so only callers that reach all of them may
/// use these. Thread: the server's.
class WebhookApi {
public:
    WebhookApi(AccessControl const& access, WebhookService& webhooks, Limits const& limits)
        : endpoints(access), access(access), webhooks(webhooks), limits(limits)
    {
    }

    std::vector<Route> routes();

private:
    /// A Webhook with its secret.
    Task<HttpResponse> handleAdd(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleList(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleWebhook(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleRemove(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleRotate(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleEnable(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleDeliveries(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleSendAgain(HttpRequest request, PathIds ids);

    Endpoints endpoints;
    AccessControl const& access;
    WebhookService& webhooks;
    Limits const& limits;
};

} // namespace zelvo::service
