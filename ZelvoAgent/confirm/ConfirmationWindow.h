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

/// One question: made, shown, decided once, and not used again. Whatever ends it, a button, the closing of
/// its window, its time, ends in one place, and only the first end counts. Thread: main.
class ConfirmationWindow : public std::enable_shared_from_this<ConfirmationWindow> {
public:
    using OnDecision = std::function<void(ConfirmationDecision)>;

    /// closeMeans: what closing the panel's window counts as.
    ConfirmationWindow(Executor main,
                       Clock& clock,
                       std::unique_ptr<ConfirmationPanel> panel,
                       ConfirmationDecision closeMeans);
    ~ConfirmationWindow();
    ConfirmationWindow(ConfirmationWindow const&) = delete;
    ConfirmationWindow& operator=(ConfirmationWindow const&) = delete;

    /// Puts the panel on the screen; its time begins now. Less than none is none.
    void show(std::int64_t timeoutMs, OnDecision onDecision);
    /// Ends the question, unless it has ended: takes the panel away, then tells the decision.
    void complete(ConfirmationDecision decision);
    /// The panel's frame, in points from the top left of the main display.
    DesktopRect agentFrame() const { return panel->frame(); }
    std::uint32_t panelId() const { return panel->windowId(); }

private:
    ConfirmationPanel::Reports reports(Instant end);
    void startCountdown(Instant end);

    Executor main;
    Clock& clock;
    std::unique_ptr<ConfirmationPanel> panel;
    ConfirmationDecision closeMeans;
    OnDecision decide; // Empty before the panel is shown and from the decision on.
    TaskHandle countdown;
};

} // namespace zelvo
