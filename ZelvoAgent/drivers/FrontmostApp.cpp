#include "drivers/FrontmostApp.h"

#include "base/Text.h"

#include <utility>

namespace zelvo {

bool FrontmostApp::matches(std::string const& expected, std::optional<std::string> const& actual)
{
    return actual && text::equalIgnoringCase(*actual, expected);
}

Task<FrontmostApp::Outcome> FrontmostApp::waitUntilFrontmost(
    Clock& clock, std::string expected, Duration timeout, Duration pollEvery, Current current)
{
    Instant const deadline = clock.now() + timeout;
    for (;;) {
        std::optional<std::string> actual = co_await current();
        if (matches(expected, actual))
            co_return Outcome{.matched = true, .actual = std::move(actual)};
        if (clock.now() >= deadline)
            co_return Outcome{.matched = false, .actual = std::move(actual)};
        co_await clock.sleepThroughCancel(pollEvery);
    }
}

} // namespace zelvo
