#pragma once

#include "base/Clock.h"
#include "base/Task.h"

#include <functional>
#include <optional>
#include <string>

namespace zelvo {

/// Decides whether a given application is frontmost. Thread: any.
class FrontmostApp {
public:
    /// The result of a wait. `actual` is the application that was frontmost at the last poll, if any.
    struct Outcome {
        bool matched = false;
        std::optional<std::string> actual;
        bool operator==(Outcome const&) const = default;
    };
    /// Returns the identifier of the frontmost application.
    using Current = std::function<Task<std::optional<std::string>>()>;

    /// Compares without regard to case. An absent `actual` never matches.
    static bool matches(std::string const& expected, std::optional<std::string> const& actual);
    /// Polls at once and then every `pollEvery`, until it matches or `timeout` has passed. With a timeout of
    /// 0 it polls once. A cancellation only ends the present pause early. Throws what `current` throws.
    static Task<Outcome> waitUntilFrontmost(
        Clock& clock, std::string expected, Duration timeout, Duration pollEvery, Current current);
};

} // namespace zelvo
