#pragma once

#include "wire/AgentError.h"

#include <optional>

namespace zelvo {

/// The AgentError that a call throws; `nullopt` if it throws none.
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
