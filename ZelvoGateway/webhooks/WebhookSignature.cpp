#include "ZelvoGateway/webhooks/WebhookSignature.h"

#include "ZelvoGateway/base/Secrets.h"

namespace zelvo::service {

std::string webhookSignature(StoredWebhook const& webhook, std::string_view body, Date now)
{
    std::string const time =
        std::to_string(std::chrono::floor<std::chrono::seconds>(now).time_since_epoch().count());
    std::string const signedText = time + "." + std::string(body);
    std::string signature = "t=" + time + ",v1=" + signatureOf(signedText, webhook.secret);
    if (webhook.oldSecret && webhook.oldUntil && now < *webhook.oldUntil)
        signature += ",v1=" + signatureOf(signedText, *webhook.oldSecret);
    return signature;
}

} // namespace zelvo::service
