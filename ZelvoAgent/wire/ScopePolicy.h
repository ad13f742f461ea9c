#pragma once

#include "wire/AgentScope.h"

#include <optional>
#include <string_view>

namespace zelvo::ScopePolicy {

/// The scope that a method needs; nothing for a method that needs none and for an unknown one. Names compare
/// exactly.
std::optional<AgentScope> required(std::string_view method);

} // namespace zelvo::ScopePolicy
