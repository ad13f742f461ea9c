#pragma once

#include "base/Clock.h"
#include "base/Task.h"
#include "platform/ApplicationNames.h"

#include <functional>
#include <optional>
#include <string>

namespace zelvo {

/// Decides whether a given application is frontmost. Thread: any.
class FrontmostApp {
public:
    /// What a wait has found: `actual` is the identifier of what was in front at the last look, if anything
    /// was.
    struct Outcome {
        bool matched = false;
        std::optional<std::string> actual;
        bool operator==(Outcome const&) const = default;
    };
    /// Gives the names of the application in front.
    using Current = std::function<Task<std::optional<ApplicationNames>>()>;

    /// Compares with the identifier and every other name, without regard to case; nothing in front matches
    /// nothing.
    static bool matches(std::string const& expected, std::optional<ApplicationNames> const& actual);
    /// Looks at once and then every `pollEvery`, until it matches or `timeout` is over; with no time it looks
    /// once. A cancelled wait only brings the next look forward. Throws what `current` throws.
    static Task<Outcome> waitUntilFrontmost(
        Clock& clock, std::string expected, Duration timeout, Duration pollEvery, Current current);
};

} // namespace zelvo
