#include "drivers/FrontmostApp.h"

#include <utility>

namespace zelvo {

namespace {

Task<FrontmostApp::Outcome> waitOn(
    Clock* clock, std::string expected, Duration timeout, Duration pollEvery, FrontmostApp::Current current)
{
    Instant const deadline = clock->now() + timeout;
    for (;;) {
        std::optional<ApplicationNames> const names = co_await current();
        std::optional<std::string> actual = names ? names->identifier() : std::nullopt;
        if (FrontmostApp::matches(expected, names))
            co_return FrontmostApp::Outcome{.matched = true, .actual = std::move(actual)};
        if (clock->now() >= deadline)
            co_return FrontmostApp::Outcome{.matched = false, .actual = std::move(actual)};
        co_await clock->sleepThroughCancel(pollEvery);
    }
}

} // namespace

bool FrontmostApp::matches(std::string const& expected, std::optional<ApplicationNames> const& actual)
{
    return actual && actual->answersTo(expected);
}

Task<FrontmostApp::Outcome> FrontmostApp::waitUntilFrontmost(
    Clock& clock, std::string expected, Duration timeout, Duration pollEvery, Current current)
{
    return waitOn(&clock, std::move(expected), timeout, pollEvery, std::move(current));
}

} // namespace zelvo
