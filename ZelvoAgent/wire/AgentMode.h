#pragma once

#include "wire/EnumText.h"

namespace zelvo {

/// How this machine runs. Only `connected`, a machine that a person has linked, has scope checks and
/// confirmations.
enum class AgentMode { connected, cloud, vm };

template <>
struct EnumTexts<AgentMode> {
    static constexpr std::array<std::string_view, 3> texts = {"connected", "cloud", "vm"};
};

} // namespace zelvo
