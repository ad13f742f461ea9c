#pragma once

#include "ZelvoGateway/base/Settings.h"

#include <cstdint>

namespace zelvo::service {

/// How long to wait after a failed attempt: twice as long each time up to a limit, and a quarter more or
/// less, so that deliveries that failed together do not return together. attempts   that have failed, at
/// least 1 chance     0 to 1
Duration retryDelay(WebhookRules const& rules, std::int64_t attempts, double chance);

} // namespace zelvo::service
