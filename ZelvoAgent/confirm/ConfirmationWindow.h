#pragma once

#include "base/Clock.h"
#include "base/Task.h"
#include "confirm/ConfirmationDecision.h"
#include "confirm/ConfirmationPanel.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace zelvo {

/// One question: shown once and decided once. A button, the close button or the timeout ends it; only the
/// first of them counts. Thread: main.
class ConfirmationWindow : public std::enable_shared_from_this<ConfirmationWindow> {
public:
    using OnDecision = std::function<void(ConfirmationDecision)>;

    /// closeMeans  the decision when the person closes the panel's window
    ConfirmationWindow(Executor main,
                       Clock& clock,
                       std::unique_ptr<ConfirmationPanel> panel,
                       ConfirmationDecision closeMeans);
    ~ConfirmationWindow();
    ConfirmationWindow(ConfirmationWindow const&) = delete;
    ConfirmationWindow& operator=(ConfirmationWindow const&) = delete;

    /// Shows the panel and starts its timeout. A negative timeout counts as 0.
    void show(std::int64_t timeoutMs, OnDecision onDecision);
    /// Ends the question unless it has ended: removes the panel, then calls onDecision.
    void complete(ConfirmationDecision decision);
    /// The panel's frame, in points from the top left corner of the main display.
    DesktopRect agentFrame() const { return panel->frame(); }
    OwnWindow panelWindow() const { return panel->ownWindow(); }

private:
    ConfirmationPanel::Reports reports(Instant end);
    void startCountdown(Instant end);

    Executor main;
    Clock& clock;
    std::unique_ptr<ConfirmationPanel> panel;
    ConfirmationDecision closeMeans;
    OnDecision decide; // Empty before show() and after the decision.
    TaskHandle countdown;
};

} // namespace zelvo
