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

/// Asks the person yes-or-no questions, each in a separate panel; several may be open at once. For the rest
/// of the session it remembers what the person allowed with the check box ticked.
///
/// No event that we post can answer a question. Before a panel opens, the posting gate is closed and all
/// posted events have arrived. After the decision, the gate opens and the caller resumes only when the panel
/// has left the screen and the keyboard focus is back where it was. So the confirmed action reaches the
/// window that it was meant for. The waiting does not shorten the person's time: it starts when the panel
/// opens.
///
/// Thread: main; confirm() any. If the caller is cancelled, its question is withdrawn.
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
    /// A question with free texts.
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
    /// platformName  the platform that the agent acts for
    Task<ConfirmationDecision>
    ask(ConfirmationSubject subject, std::string platformName, std::int64_t timeoutMs);
    /// Asks a question with free texts. Nothing is remembered; closing the panel gives timedOut.
    Task<ConfirmationDecision> askChoice(Choice choice, std::int64_t timeoutMs);
    /// Clears the session's allowances.
    void reset() { allowances.clear(); }

    Task<> confirm(ConfirmationSubject subject, std::string platformName, std::int64_t timeoutMs) override;

    /// True from the start of a question until its panel has left the screen and the gate is open again.
    bool hasOpenQuestion() const { return !questions.empty(); }
    /// The ConfirmationSubject::allowanceKey of each kind that is allowed for the session.
    std::set<std::string, std::less<>> const& sessionAllowances() const { return allowances; }
    /// The windows of the unanswered questions, oldest first.
    std::vector<std::shared_ptr<ConfirmationWindow>> openWindows() const;

    /// The frame of the last panel that ask() showed; `nullopt` once any panel of ask() is decided.
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
    std::vector<QuestionPtr> questions; // Includes decided ones whose panel has not left the screen yet.
    std::optional<DesktopRect> lastFrame;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks hold it weakly to detect destruction.
};

} // namespace zelvo
