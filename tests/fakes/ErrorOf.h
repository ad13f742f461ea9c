#pragma once

#include "wire/AgentError.h"

#include <optional>

namespace zelvo {

/// The kind of failure that a call ends with; nothing when it goes through.
template <class F>
std::optional<AgentError> errorOf(F call)
{
    try {
        call();
    } catch (AgentError error) {
        return error;
    }
    return std::nullopt;
}

} // namespace zelvo
