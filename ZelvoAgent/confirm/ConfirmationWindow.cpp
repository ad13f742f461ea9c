#include "confirm/ConfirmationWindow.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace zelvo {

namespace {

// Clamped, so that no number of milliseconds overflows the clock.
Duration timeOf(std::int64_t ms)
{
    constexpr std::int64_t maxMs = std::numeric_limits<std::int32_t>::max();
    return std::chrono::milliseconds(std::clamp<std::int64_t>(ms, 0, maxMs));
}

} // namespace

ConfirmationWindow::ConfirmationWindow(Executor main,
                                       Clock& clock,
                                       std::unique_ptr<ConfirmationPanel> panel,
                                       ConfirmationDecision closeMeans)
    : main(std::move(main)), clock(clock), panel(std::move(panel)), closeMeans(closeMeans)
{
}

ConfirmationWindow::~ConfirmationWindow()
{
    countdown.cancel();
}

void ConfirmationWindow::show(std::int64_t timeoutMs, OnDecision onDecision)
{
    decide = std::move(onDecision);
    Instant const end = clock.now() + timeOf(timeoutMs);
    panel->show(end, reports(end));
    startCountdown(end);
}

ConfirmationPanel::Reports ConfirmationWindow::reports(Instant end)
{
    auto const completing = [weak = weak_from_this()](ConfirmationDecision decision) {
        if (auto const window = weak.lock())
            window->complete(decision);
    };
    // After a suspend the button press may be handled before the expired countdown.
    auto const allowing = [completing, end, &clock = clock](bool remember) {
        completing(clock.now() > end ? ConfirmationDecision::timedOut()
                                     : ConfirmationDecision::allowed(remember));
    };
    return {.allow = allowing,
            .deny = [completing] { completing(ConfirmationDecision::denied()); },
            .close = [completing, means = closeMeans] { completing(means); }};
}

void ConfirmationWindow::startCountdown(Instant end)
{
    countdown = spawn(main, [weak = weak_from_this(), &clock = clock, end]() -> Task<> {
        co_await clock.sleepUntil(end);
        if (auto const window = weak.lock())
            window->complete(ConfirmationDecision::timedOut());
    });
}

void ConfirmationWindow::complete(ConfirmationDecision decision)
{
    if (!decide)
        return;
    OnDecision const onDecision = std::exchange(decide, nullptr);
    countdown.cancel();
    panel->takeAway();
    onDecision(decision);
}

} // namespace zelvo
