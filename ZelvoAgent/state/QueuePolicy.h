#pragma once

#include "platform/UserDefaults.h"
#include "wire/EnumText.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// What happens to commands that the gateway queued while this machine was away.
enum class QueuePolicy { ask, automatic, never };

template <>
struct EnumTexts<QueuePolicy> {
    static constexpr std::array<std::string_view, 3> texts = {"ask", "auto", "never"};
};

/// Which commands of an offer run, by id.
struct QueueDecision {
    std::vector<std::string> accepted;
    std::vector<std::string> declined;
    bool operator==(QueueDecision const&) const = default;
};

/// The policy's name in the person's language.
std::string title(QueuePolicy policy);
/// The decision that the policy makes; `nullopt` if the person is asked.
std::optional<QueueDecision> immediateDecision(QueuePolicy policy, std::vector<std::string> ids);

/// The stored policy; an absent or unknown one reads as ask.
QueuePolicy loadQueuePolicy(UserDefaults& defaults);
void save(QueuePolicy policy, UserDefaults& defaults);

} // namespace zelvo
