#include "router/FrontmostCheck.h"

#include "drivers/FrontmostApp.h"

namespace zelvo {

namespace {

constexpr Duration pollInterval = 50ms;

} // namespace

Task<>
FrontmostCheck::assertInFront(std::string expected, Duration maxWait, std::optional<std::size_t> failedIndex)
{
    // A hidden application matches nothing, not even its own identifier, so guessing reveals nothing.
    auto const current = [this]() -> Task<std::optional<ApplicationNames>> {
        auto const front = co_await probe.frontmostApp();
        co_return front && !front->isHidden ? std::optional(front->names) : std::nullopt;
    };
    auto const outcome =
        co_await FrontmostApp::waitUntilFrontmost(clock, expected, maxWait, pollInterval, current);
    if (!outcome.matched)
        throw co_await refusal(std::move(expected), failedIndex);
}

Task<> FrontmostCheck::assertNothingInFront(Duration maxWait, std::optional<std::size_t> failedIndex)
{
    Instant const deadline = clock.now() + maxWait;
    while (co_await probe.frontmostApp()) {
        if (clock.now() >= deadline)
            throw co_await refusal("", failedIndex);
        co_await clock.sleepThroughCancel(pollInterval);
    }
}

Task<DetailedAgentError> FrontmostCheck::refusal(std::string expected, std::optional<std::size_t> failedIndex)
{
    auto front = co_await probe.frontmostApp();
    if (front && front->isHidden)
        front.reset(); // An agent must not learn what the person has hidden.
    DetailedAgentError failure;
    failure.error = AgentError::appNotFrontmost;
    failure.message = (front ? front->name : "another app") + " is in front, but " +
                      (expected.empty() ? "no app" : expected) +
                      " was expected. The action was not performed.";
    failure.details = {{"expected", expected},
                       {"actual", front ? front->bundleId : ""},
                       {"actualName", front ? front->name : ""}};
    if (failedIndex)
        failure.details["failedIndex"] = std::to_string(*failedIndex);
    co_return failure;
}

} // namespace zelvo
