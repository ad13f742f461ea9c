#pragma once

#include "ZelvoGateway/store/StoredWebhook.h"
#include "base/Clock.h"

#include <string>
#include <string_view>

namespace zelvo::service {

/// "t=1763768307,v1=5257a8...": the seconds since 1970, and for each valid secret the HMAC-SHA-256 of
/// "1763768307." and the body. The time is signed, too, so that a receiver can refuse old requests.
std::string webhookSignature(StoredWebhook const& webhook, std::string_view body, Date now);

} // namespace zelvo::service
