#include "state/QueuePolicy.h"

#include "base/LocalizedTexts.h"

namespace zelvo {

namespace {

constexpr std::string_view policyKey = "dev.zelvo.queuePolicy";

} // namespace

std::string title(QueuePolicy policy)
{
    return localized("queue.policy." + std::string(rawValue(policy)));
}

std::optional<QueueDecision> immediateDecision(QueuePolicy policy, std::vector<std::string> ids)
{
    switch (policy) {
    case QueuePolicy::ask:
        return std::nullopt;
    case QueuePolicy::automatic:
        return QueueDecision{.accepted = std::move(ids), .declined = {}};
    case QueuePolicy::never:
        return QueueDecision{.accepted = {}, .declined = std::move(ids)};
    }
    return std::nullopt;
}

QueuePolicy loadQueuePolicy(UserDefaults& defaults)
{
    return fromRawValue<QueuePolicy>(defaults.text(policyKey).value_or("")).value_or(QueuePolicy::ask);
}

void save(QueuePolicy policy, UserDefaults& defaults)
{
    defaults.setText(policyKey, std::string(rawValue(policy)));
}

} // namespace zelvo
