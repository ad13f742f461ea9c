#include "confirm/ConfirmationPresenter.h"

#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "base/Text.h"
#include "confirm/ShellEnvironment.h"
#include "wire/AgentError.h"

#include <boost/asio/this_coro.hpp>
#include <boost/system/system_error.hpp>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <utility>
#include <variant>

namespace zelvo {

namespace {

constexpr Duration maxSettling = 1s; // Time for the window manager to carry out a request.
constexpr Duration settlingPoll = 10ms;
constexpr int maxFrameChecks = 20;
constexpr std::size_t maxNameLength =
    80; // Characters. The name is shown above the detail and must not be mistaken for it.

bool isExact(ConfirmationSubject const& subject)
{
    return std::holds_alternative<ConfirmationSubject::ShellCommand>(subject.value) ||
           std::holds_alternative<ConfirmationSubject::FileDelete>(subject.value) ||
           std::holds_alternative<ConfirmationSubject::FileWrite>(subject.value) ||
           std::holds_alternative<ConfirmationSubject::OpenUrl>(subject.value);
}

// Texts of applications and agents must not pass for texts of this program. A command is shown exactly.
std::string shownDetail(ConfirmationSubject const& subject)
{
    return isExact(subject) ? subject.detail() : text::withoutControlCharacters(subject.detail());
}

/// Folder and variables of a command can make another program of it. They have their own places in the panel,
/// which no text of the command can imitate.
void addCircumstances(PanelContents& contents, ConfirmationSubject const& subject)
{
    auto const* const shell = std::get_if<ConfirmationSubject::ShellCommand>(&subject.value);
    if (!shell)
        return;
    ShellEnvironment::Lines variables = ShellEnvironment::lines(shell->env);
    if (!variables.risky.empty())
        contents.warning = {localized("confirm.shell.riskyVariables"), std::move(variables.risky)};
    if (shell->cwd)
        contents.additions.push_back({localized("confirm.shell.folder"), {*shell->cwd}});
    if (!variables.others.empty())
        contents.additions.push_back({localized("confirm.shell.variables"), std::move(variables.others)});
}

/// The window that has the keyboard.
struct ActiveWindow {
    std::uint32_t id = 0;
    std::optional<std::size_t> panel = {}; ///< which of our panels it is
};

ActiveWindow activeWindow(WindowFocus& focus, std::vector<OwnWindow> const& panels)
{
    ActiveWindow active{.id = focus.activeWindow()};
    auto const isIt = [&](OwnWindow const& panel) { return focus.idOf(panel) == active.id; };
    if (auto const found = std::ranges::find_if(panels, isIt); active.id && found != panels.end())
        active.panel = static_cast<std::size_t>(found - panels.begin());
    return active;
}

} // namespace

/// A question, from ask() until its panel has left the screen.
struct ConfirmationPresenter::Question {
    std::shared_ptr<ConfirmationWindow> window;
    Kind kind = Kind::action;
    std::optional<ConfirmationDecision> decision;
    SleepQueue decided;          ///< the caller sleeps here until the decision
    bool isWithdrawn = false;    ///< the caller was cancelled
    bool holdsGate = false;      ///< has closed the gate and not yet opened it
    std::uint32_t workplace = 0; ///< the window that had the keyboard focus before
    OwnWindow panel;             ///< once it is shown

    bool isOpen() const { return !decision && !isWithdrawn; }
    void decide(ConfirmationDecision made)
    {
        decision = made;
        decided.wakeDue(Instant::max());
    }
};

ConfirmationPresenter::ConfirmationPresenter(Services services) : services(std::move(services)) {}

ConfirmationPresenter::~ConfirmationPresenter()
{
    alive.reset();
    for (QuestionPtr const& question : questions) {
        if (std::exchange(question->holdsGate, false))
            services.gate.open();
        if (question->isOpen())
            question->window->complete(ConfirmationDecision::timedOut());
        if (question->isOpen()) // Not shown yet, so complete() did nothing.
            question->decide(ConfirmationDecision::timedOut());
    }
}

Task<>
ConfirmationPresenter::confirm(ConfirmationSubject subject, std::string platformName, std::int64_t timeoutMs)
{
    auto const asking = [this, &subject, &platformName, timeoutMs] {
        return ask(std::move(subject), std::move(platformName), timeoutMs);
    };
    ConfirmationDecision const decision = co_await runOn(services.main, asking);
    if (decision.kind == ConfirmationDecision::Kind::denied)
        throw AgentError::deniedByUser;
    if (decision.kind == ConfirmationDecision::Kind::timedOut)
        throw AgentError::confirmationTimeout;
}

Task<ConfirmationDecision>
ConfirmationPresenter::ask(ConfirmationSubject subject, std::string platformName, std::int64_t timeoutMs)
{
    std::string const key(subject.allowanceKey());
    if (allowances.contains(key))
        co_return ConfirmationDecision::allowed(true);
    PanelContents contents{.title = subject.title(),
                           .detail =
                               text::shownInLine(platformName, maxNameLength) + "\n\n" + shownDetail(subject),
                           .allowTitle = localized("confirm.allow"),
                           .denyTitle = localized("confirm.deny"),
                           .showsRemember = true,
                           .isExact = isExact(subject)};
    addCircumstances(contents, subject);
    std::weak_ptr const weak = alive;
    ConfirmationDecision const decision = co_await put(std::move(contents), Kind::action, timeoutMs);
    if (decision == ConfirmationDecision::allowed(true) && !weak.expired())
        allowances.insert(key);
    co_return decision;
}

Task<ConfirmationDecision> ConfirmationPresenter::askChoice(Choice choice, std::int64_t timeoutMs)
{
    PanelContents contents{.title = std::move(choice.title),
                           .detail = std::move(choice.detail),
                           .allowTitle = std::move(choice.allowTitle),
                           .denyTitle = std::move(choice.denyTitle)};
    co_return co_await put(std::move(contents), Kind::choice, timeoutMs);
}

std::vector<std::shared_ptr<ConfirmationWindow>> ConfirmationPresenter::openWindows() const
{
    std::vector<std::shared_ptr<ConfirmationWindow>> open;
    for (QuestionPtr const& question : questions)
        if (question->isOpen())
            open.push_back(question->window);
    return open;
}

// A separate task, because putOnMain() changes how its task reacts to a cancellation.
Task<ConfirmationDecision>
ConfirmationPresenter::put(PanelContents contents, Kind kind, std::int64_t timeoutMs)
{
    auto const putting = [this, &contents, kind, timeoutMs] {
        return putOnMain(std::move(contents), kind, timeoutMs);
    };
    co_return co_await runOn(services.main, putting);
}

Task<ConfirmationDecision>
ConfirmationPresenter::putOnMain(PanelContents contents, Kind kind, std::int64_t timeoutMs)
{
    // A cancellation withdraws the question, but the cleanup below must still run.
    co_await asio::this_coro::throw_if_cancelled(false);
    std::weak_ptr const weak = alive;
    ConfirmationDecision const closeMeans =
        kind == Kind::action ? ConfirmationDecision::denied() : ConfirmationDecision::timedOut();
    auto const question = std::make_shared<Question>();
    question->kind = kind;
    question->window = std::make_shared<ConfirmationWindow>(
        services.main, services.clock, services.makePanel(std::move(contents)), closeMeans);
    questions.push_back(question); // Before it is visible, so that hasOpenQuestion() is true from here on.

    co_await closeGate(question);
    bool cancelled =
        (co_await asio::this_coro::cancellation_state).cancelled() != asio::cancellation_type::none;
    std::exception_ptr failure; // If the panel cannot be shown, the gate must still open again.
    if (!weak.expired() && !cancelled) {
        try {
            show(question, timeoutMs);
            if (!question->decision)
                co_await question->decided.wait(Instant::max(), asio::use_awaitable);
        } catch (boost::system::system_error const&) {
            cancelled = !question->decision;
        } catch (...) {
            failure = std::current_exception();
            cancelled = !question->decision;
        }
    }
    question->isWithdrawn = cancelled;
    if (!weak.expired())
        co_await leave(question);
    if (failure)
        std::rethrow_exception(failure);
    if (!question->decision)
        throw boost::system::system_error(asio::error::operation_aborted);
    co_return *question->decision;
}

Task<> ConfirmationPresenter::closeGate(QuestionPtr question)
{
    std::weak_ptr const weak = alive;
    question->holdsGate = true;
    try {
        co_await services.gate.close();
    } catch (boost::system::system_error const&) {
        // Cancelled during the wait; the gate is already closed.
    }
    if (!weak.expired())
        co_await noteWorkplace(question);
}

// If one of our panels is active, the workplace is the window that was active before that panel.
Task<> ConfirmationPresenter::noteWorkplace(QuestionPtr question)
{
    std::weak_ptr const weak = alive;
    std::vector<QuestionPtr> const others = questions;
    std::vector<OwnWindow> panels;
    for (QuestionPtr const& other : others)
        panels.push_back(other->panel);
    ActiveWindow const active = co_await on(
        services.workers, [&focus = services.focus, &panels] { return activeWindow(focus, panels); });
    if (weak.expired())
        co_return;
    question->workplace = active.panel ? others[*active.panel]->workplace : active.id;
}

void ConfirmationPresenter::show(QuestionPtr const& question, std::int64_t timeoutMs)
{
    question->window->show(timeoutMs,
                           [this, weak = std::weak_ptr(alive), question](ConfirmationDecision made) {
                               question->decide(made);
                               if (!weak.expired() && question->kind == Kind::action)
                                   setLastFrame(std::nullopt);
                           });
    question->panel = question->window->panelWindow();
    if (question->kind == Kind::action && question->isOpen())
        setLastFrame(question->window->agentFrame());
    spawn(services.main, [this, weak = std::weak_ptr(alive), question]() -> Task<> {
        if (!weak.expired())
            co_await bringForward(question);
    });
}

// The window manager accepts the request only for a window that is on the screen.
Task<> ConfirmationPresenter::bringForward(QuestionPtr question)
{
    std::weak_ptr const weak = alive;
    WindowFocus& focus = services.focus;
    Instant const deadline = services.clock.now() + maxSettling;
    while (!weak.expired() && question->isOpen()) {
        bool const isDone =
            co_await on(services.workers, [&focus, panel = question->panel, over = question->workplace] {
                std::uint32_t const id = focus.idOf(panel);
                if (!focus.standing(id).isOnScreen)
                    return false;
                focus.putInFront(id, over);
                return true;
            });
        if (weak.expired() || isDone || services.clock.now() >= deadline)
            break;
        co_await services.clock.sleep(settlingPoll);
    }
    // The window manager has added its frame by now, but the toolkit may learn of it a little later.
    auto const isCurrent = [&] {
        return !weak.expired() && question->isOpen() && question->kind == Kind::action && lastFrame;
    };
    for (int check = 0; check < maxFrameChecks && isCurrent(); ++check) {
        setLastFrame(question->window->agentFrame());
        co_await services.clock.sleep(settlingPoll);
    }
}

// Waits until the panel has left the screen, at most maxSettling, then opens the gate.
Task<> ConfirmationPresenter::leave(QuestionPtr question)
{
    std::weak_ptr const weak = alive;
    if (question->isWithdrawn) {
        question->window->complete(ConfirmationDecision::timedOut());
        question->decision.reset();
    }
    auto const isOther = [&](QuestionPtr const& other) { return other != question && other->isOpen(); };
    // The allowed action is meant for the workplace window. But another open panel keeps the focus, because
    // the person is reading it.
    bool const givesBack = question->decision && question->decision->isAllowed() &&
                           question->workplace != 0 && std::ranges::none_of(questions, isOther);
    if (givesBack)
        co_await on(services.workers,
                    [&focus = services.focus, to = question->workplace] { focus.activate(to); });
    if (question->panel.nativeId != 0) {
        Clock& clock = services.clock; // It outlives this presenter.
        Instant const deadline = clock.now() + maxSettling;
        while (!weak.expired() && !co_await isScreenBack(question, givesBack) && clock.now() < deadline)
            co_await clock.sleepThroughCancel(settlingPoll);
    }
    if (weak.expired())
        co_return;
    if (std::exchange(question->holdsGate, false))
        services.gate.open();
    std::erase(questions, question);
}

Task<bool> ConfirmationPresenter::isScreenBack(QuestionPtr question, bool givesBack)
{
    co_return co_await on(services.workers, [&focus = services.focus, panel = question->panel,
                                             workplace = question->workplace, givesBack] {
        WindowStanding const left = focus.standing(focus.idOf(panel));
        if (left.isOnScreen || left.hasKeyboard)
            return false;
        // The person releases the key that answered only after the panel has closed. While that key is down,
        // an event that presses the same key would have no effect.
        if (focus.isKeyDown())
            return false;
        if (!givesBack)
            return true;
        WindowStanding const returned = focus.standing(workplace);
        return !returned.exists || returned.hasKeyboard;
    });
}

void ConfirmationPresenter::setLastFrame(std::optional<DesktopRect> frame)
{
    lastFrame = frame;
    lastPanelFrameChanged();
}

} // namespace zelvo
