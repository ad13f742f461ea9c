#pragma once

#include "base/Clock.h"
#include "base/Task.h"

#include <functional>
#include <optional>
#include <string>

namespace zelvo {

/// Decides whether a given application is in front. Thread: any.
class FrontmostApp {
public:
    /// What a wait has found: `actual` is what was in front at the last look, if anything was.
    struct Outcome {
        bool matched = false;
        std::optional<std::string> actual;
        bool operator==(Outcome const&) const = default;
    };
    /// Gives the identifier of the application in front.
    using Current = std::function<Task<std::optional<std::string>>()>;

    /// Compares without regard to case; nothing in front matches nothing.
    static bool matches(std::string const& expected, std::optional<std::string> const& actual);
    /// Looks at once and then every `pollEvery`, until it matches or `timeout` is over; with no time it looks
    /// once. A cancelled wait only brings the next look forward. Throws what `current` throws.
    static Task<Outcome> waitUntilFrontmost(
        Clock& clock, std::string expected, Duration timeout, Duration pollEvery, Current current);
};

} // namespace zelvo
