#pragma once

#include "base/Clock.h"
#include "base/Task.h"
#include "confirm/ElementProbing.h"
#include "wire/AgentError.h"

#include <cstddef>
#include <optional>
#include <string>

namespace zelvo {

/// Checks which application is in front, and words the refusal if it is another one. A hidden application is
/// always another one, whatever is expected. Thread: any.
class FrontmostCheck {
public:
    FrontmostCheck(Clock& clock, ElementProbing& probe) : clock(clock), probe(probe) {}

    /// Waits at most `maxWait` for the application to come to the front; looks once if that is zero.
    /// failedIndex  the action of a batch that is refused
    /// Throws       DetailedAgentError with AgentError::appNotFrontmost
    Task<> assertInFront(std::string expected,
                         Duration maxWait,
                         std::optional<std::size_t> failedIndex = std::nullopt);
    /// The same for the case that no application may be in front.
    Task<> assertNothingInFront(Duration maxWait, std::optional<std::size_t> failedIndex);

private:
    Task<DetailedAgentError> refusal(std::string expected, std::optional<std::size_t> failedIndex);

    Clock& clock;
    ElementProbing& probe;
};

} // namespace zelvo
