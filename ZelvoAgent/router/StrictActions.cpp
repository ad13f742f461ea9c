#include "router/StrictActions.h"

#include "base/Hop.h"
#include "confirm/ButtonRoles.h"
#include "confirm/DangerousShortcuts.h"

#include <type_traits>
#include <utility>
#include <variant>

namespace zelvo {

namespace {

constexpr std::int64_t secondDragMs = 100;

bool endsLine(std::string const& piece)
{
    return piece.starts_with('\n') || piece.starts_with('\r');
}

} // namespace

Task<bool> StrictActions::perform(InputAction action, Turn turn)
{
    auto const carryOut = [this, &turn]<class Kind>(Kind kind) -> Task<bool> {
        if constexpr (requires { run(std::move(kind), turn); }) {
            co_await run(std::move(kind), turn);
            co_return true;
        } else {
            co_return false;
        }
    };
    co_return co_await std::visit(carryOut, std::move(action.value));
}

/// Of a series of clicks each may meet another element.
Task<> StrictActions::run(InputAction::Click action, Turn turn)
{
    co_await askAboutClick(action.point, action.button, turn);
    InputDriving::Before const beforeNext = [this, action, turn]() -> Task<> {
        co_await askAboutClick(action.point, action.button, turn);
    };
    co_await services.shown.perform(action, beforeNext);
}

Task<> StrictActions::run(InputAction::ClickElement action, Turn turn)
{
    DesktopPoint const at = services.elements.element(action.snapshotId, action.elementId).frame.center();
    auto const application = services.elements.applicationOf(action.snapshotId);
    bool const hasPlace = services.elements.hasPlaces(action.snapshotId);
    if (hasPlace)
        co_await pointAt(at);
    Confirmations::Look const look = [&]() -> Task<std::optional<ProbedElement>> {
        co_return co_await services.elements.assertMayBeClicked(action.snapshotId, action.elementId);
    };
    Confirmations::Recheck const again = [&]() -> Task<> {
        co_await turn.recheck(application);
        if (hasPlace)
            co_await pointAt(at); // The person may have moved it.
    };
    co_await services.confirmations.askAboutPress(look, turn.asker, again);
    co_await services.elements.perform(action);
}

Task<> StrictActions::run(InputAction::MouseDown action, Turn)
{
    pressedAt[action.button] = action.point;
    co_await services.shown.perform(action);
}

Task<> StrictActions::run(InputAction::MouseUp action, Turn turn)
{
    auto const pressed = pressedAt.extract(action.button);
    Hold const hold{
        .from = pressed ? pressed.mapped() : action.point, .to = action.point, .button = action.button};
    // What is there may be shown only while the pointer is over it.
    co_await services.shown.perform(InputAction::Move{action.point});
    noteInput();
    co_await release(hold, std::move(turn));
}

Task<> StrictActions::run(InputAction::Drag action, Turn turn)
{
    co_await services.hiddenGuard.assertPointAllowed(action.to);
    co_await on(services.workers, [&] { services.ownUi.assertClickAllowed(action.to); });
    Hold const hold{.from = action.from, .to = action.to, .button = action.button};
    if (!co_await services.shown.begin(action))
        co_return;
    noteInput();
    co_await release(hold, std::move(turn));
}

/// Lets go of a held button. If that would press something that a left click asks about, the button is first
/// let go outside of it, and only after a yes the whole press is made again.
Task<> StrictActions::release(Hold hold, Turn turn)
{
    bool isHandled = co_await services.input.delivered();
    auto subject = co_await subjectOf(hold.to, hold.button, isHandled, turn.asker);
    while (subject) {
        co_await services.input.releaseAll();
        co_await services.confirmations.ask(*subject, turn.asker);
        co_await turn.recheck(std::nullopt);
        if (!co_await services.input.dragHeld(hold.from, hold.to, hold.button, secondDragMs))
            co_return;
        noteInput();
        isHandled = co_await services.input.delivered();
        auto now = co_await subjectOf(hold.to, hold.button, isHandled, turn.asker);
        if (now == subject)
            break;
        subject = std::move(now);
    }
    co_await services.input.mouseUp(hold.to, hold.button);
}

Task<> StrictActions::run(InputAction::Type action, Turn turn)
{
    InputDriving::BeforePiece const before = [this, turn](std::string piece) -> Task<> {
        co_await askAboutPiece(std::move(piece), turn);
    };
    co_await services.shown.perform(std::move(action), before);
}

/// A line end is Return, and a blank presses a button that has the keyboard focus.
Task<> StrictActions::askAboutPiece(std::string piece, Turn turn)
{
    std::vector<std::string> const keys{endsLine(piece) ? "return" : "space"};
    if (endsLine(piece)) {
        co_await askAboutKeys(keys, turn);
    } else {
        bool const isHandled = !std::exchange(mayHaveMoved, false) || co_await services.input.delivered();
        auto const focused = co_await services.probe.currentElement();
        if (!isHandled || (focused && isButtonRole(focused->role)))
            co_await askAboutKeys(keys, turn);
        // Any character may fill a field that then hands the focus on. An application that names no focus,
        // such as a terminal, is waited for once.
        mayHaveMoved = focused.has_value();
    }
    mayHaveMoved = mayHaveMoved || endsLine(piece) || piece.find('\t') != std::string::npos;
}

Task<> StrictActions::run(InputAction::Key action, Turn turn)
{
    co_await askAboutKeys(action.keys, turn);
    co_await services.shown.perform(std::move(action));
}

Task<> StrictActions::askAboutKeys(std::vector<std::string> keys, Turn turn)
{
    Confirmations::Keys pressed;
    if (DangerousShortcuts::activatingKey(keys, {}))
        pressed.isFocusKnown = co_await services.input.delivered();
    pressed.names = std::move(keys);
    pressed.front = co_await services.probe.frontmostApp();
    pressed.strictness = Strictness::strict;
    std::string const application = pressed.front ? pressed.front->bundleId : "";
    Confirmations::Recheck const again = [&] { return turn.recheck(application); };
    co_await services.confirmations.askAboutKeys(std::move(pressed), turn.asker, again);
}

/// A text that is given as a whole presses no keys.
Task<> StrictActions::setText(InputAction::SetValue action, Turn turn)
{
    auto const application = services.elements.applicationOf(action.snapshotId);
    Confirmations::Look const look = [&]() -> Task<std::optional<ProbedElement>> {
        co_return co_await services.elements.assertHoldsText(action);
    };
    Confirmations::Recheck const again = [&] { return turn.recheck(application); };
    co_await services.confirmations.askAboutPress(look, turn.asker, again);
    co_await services.elements.perform(action);
}

Task<> StrictActions::run(InputAction::SetValue action, Turn turn)
{
    if (!services.elements.hasPlaces(action.snapshotId)) {
        co_await setText(std::move(action), std::move(turn));
        co_return;
    }
    co_await services.elements.assertHoldsText(action);
    DesktopPoint const point = services.elements.element(action.snapshotId, action.elementId).frame.center();
    bool const isHandled = co_await pointAt(point);
    if (auto const subject = co_await subjectOf(point, MouseButton::left, isHandled, turn.asker)) {
        co_await services.confirmations.ask(*subject, turn.asker);
        co_await turn.recheck(services.elements.applicationOf(action.snapshotId));
        co_await services.elements.assertHoldsText(action);
    }
    co_await services.elements.selectText(action);
    noteInput();
    InputAction::Type typed{.text = std::move(action.text)};
    co_await run(std::move(typed), std::move(turn));
}

Task<> StrictActions::askAboutClick(DesktopPoint at, MouseButton button, Turn turn)
{
    bool isHandled = co_await pointAt(at);
    auto const subject = co_await subjectOf(at, button, isHandled, turn.asker);
    if (!subject)
        co_return;
    co_await services.confirmations.ask(*subject, turn.asker);
    co_await turn.recheck(std::nullopt);
    isHandled = co_await pointAt(at); // The person may have moved it.
    if (co_await subjectOf(at, button, isHandled, turn.asker) != subject)
        throw Confirmations::changedMeanwhile();
}

Task<bool> StrictActions::pointAt(DesktopPoint at)
{
    co_await services.shown.perform(InputAction::Move{at});
    noteInput();
    co_return co_await services.input.delivered();
}

/// The right button opens a menu on a button, but it presses the items of an open menu like any other.
Task<std::optional<ConfirmationSubject>>
StrictActions::subjectOf(DesktopPoint at, MouseButton button, bool isHandled, Asker asker)
{
    auto const element = co_await services.probe.element(at);
    auto subject = element ? Confirmations::subjectOfPress(*element, asker) : std::nullopt;
    if (!subject && !isHandled)
        co_return Confirmations::unknownButton();
    if (!element || (button == MouseButton::right && element->role != "AXMenuItem"))
        co_return std::nullopt;
    co_return subject;
}

} // namespace zelvo
