#include "ZelvoGateway/webhooks/RetryDelay.h"

namespace zelvo::service {

Duration retryDelay(WebhookRules const& rules, std::int64_t attempts, double chance)
{
    Duration delay = rules.firstRetry;
    for (std::int64_t attempt = 1; attempt < attempts && delay < rules.maxRetry; ++attempt)
        delay *= 2;
    delay = std::min(delay, rules.maxRetry);
    return std::chrono::duration_cast<Duration>(delay * (0.75 + chance / 2));
}

} // namespace zelvo::service
