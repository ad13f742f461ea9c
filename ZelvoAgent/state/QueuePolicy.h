#pragma once

#include "platform/UserDefaults.h"
#include "wire/EnumText.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// What happens to commands that the gateway kept while this machine was away.
enum class QueuePolicy { ask, automatic, never };

template <>
struct EnumTexts<QueuePolicy> {
    static constexpr std::array<std::string_view, 3> texts = {"ask", "auto", "never"};
};

/// Which commands of an offer run, by their ids.
struct QueueDecision {
    std::vector<std::string> accepted;
    std::vector<std::string> declined;
    bool operator==(QueueDecision const&) const = default;
};

/// The name that a person sees.
std::string title(QueuePolicy policy);
/// What is decided without the person; nothing when the person is asked.
std::optional<QueueDecision> immediateDecision(QueuePolicy policy, std::vector<std::string> ids);

/// The stored policy; an absent or unknown one reads as ask.
QueuePolicy loadQueuePolicy(UserDefaults& defaults);
void save(QueuePolicy policy, UserDefaults& defaults);

} // namespace zelvo
