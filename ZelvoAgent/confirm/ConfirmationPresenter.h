#pragma once

#include "base/Clock.h"
#include "base/Geometry.h"
#include "base/Task.h"
#include "confirm/ConfirmationDecision.h"
#include "confirm/ConfirmationPanel.h"
#include "confirm/ConfirmationWindow.h"
#include "confirm/Confirming.h"
#include "drivers/PostingGate.h"
#include "platform/WindowFocus.h"

#include <boost/signals2/signal.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// Puts yes-or-no questions to the person, any number at a time, each on a panel of its own, and remembers
/// for the session what the person allowed with the box ticked.
///
/// From before a panel opens until the screen is as it was, no event of ours can answer it: the posting gate
/// is closed, and what was posted has arrived, when the panel comes up; and the caller goes on, and the gate
/// opens, only when the display server has taken the panel away and the keyboard is back with the application
/// that had it. So what was allowed lands where it was meant. Neither holds up a decision: a question's time
/// runs from its panel's opening.
///
/// Thread: main; confirm() any. A caller that is cancelled takes its question away.
class ConfirmationPresenter final : public Confirming {
public:
    struct Services {
        Executor main;
        Executor workers;
        Clock& clock;
        PostingGate& gate;
        WindowFocus& focus;
        ConfirmationPanelMaker makePanel;
    };
    /// A question in free words.
    struct Choice {
        std::string title;
        std::string detail;
        std::string allowTitle;
        std::string denyTitle;
    };

    explicit ConfirmationPresenter(Services services);
    ~ConfirmationPresenter() override;
    ConfirmationPresenter(ConfirmationPresenter const&) = delete;
    ConfirmationPresenter& operator=(ConfirmationPresenter const&) = delete;

    /// Asks about an agent's action, unless its kind is allowed for the session. Closing the panel denies.
    /// platformName: on whose behalf the agent acts.
    Task<ConfirmationDecision>
    ask(ConfirmationSubject subject, std::string platformName, std::int64_t timeoutMs);
    /// Nothing is remembered, and closing the panel is no answer: timedOut.
    Task<ConfirmationDecision> askChoice(Choice choice, std::int64_t timeoutMs);
    /// Forgets what was allowed for the session.
    void reset() { allowances.clear(); }

    Task<> confirm(ConfirmationSubject subject, std::string platformName, std::int64_t timeoutMs) override;

    /// True from before a question's panel opens until the screen is as it was again.
    bool hasOpenQuestion() const { return !questions.empty(); }
    /// The kinds that are allowed for the session, by ConfirmationSubject::allowanceKey.
    std::set<std::string, std::less<>> const& sessionAllowances() const { return allowances; }
    /// The questions that wait for an answer, oldest first.
    std::vector<std::shared_ptr<ConfirmationWindow>> openWindows() const;

    /// The frame of the panel that ask() showed last, until any panel of ask() is decided.
    std::optional<DesktopRect> const& lastPanelFrame() const { return lastFrame; }
    boost::signals2::signal<void()> lastPanelFrameChanged;

private:
    struct Question;
    using QuestionPtr = std::shared_ptr<Question>;
    enum class Kind { action, choice };

    Task<ConfirmationDecision> put(PanelContents contents, Kind kind, std::int64_t timeoutMs);
    Task<ConfirmationDecision> putOnMain(PanelContents contents, Kind kind, std::int64_t timeoutMs);
    Task<> closeGate(QuestionPtr question);
    Task<> noteWorkplace(QuestionPtr question);
    void show(QuestionPtr const& question, std::int64_t timeoutMs);
    Task<> bringForward(QuestionPtr question);
    Task<> leave(QuestionPtr question);
    Task<bool> isScreenBack(QuestionPtr question, bool givesBack);
    void setLastFrame(std::optional<DesktopRect> frame);

    Services services;
    std::set<std::string, std::less<>> allowances;
    std::vector<QuestionPtr> questions; // Also those that are decided and not yet gone from the screen.
    std::optional<DesktopRect> lastFrame;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks that hold this weakly look at it.
};

} // namespace zelvo
