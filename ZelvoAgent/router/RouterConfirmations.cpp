#include "base/LocalizedTexts.h"
#include "confirm/DangerousShortcuts.h"
#include "confirm/SubmitButtonHeuristic.h"
#include "router/RpcRouter.h"

namespace zelvo {

/// Asks for what commits something. A press of another button than the left, half a click, a drag and typed
/// text commit nothing that could be told beforehand.
Task<bool> RpcRouter::confirm(InputAction action, GrantedConnection connection)
{
    if (auto const* const pressed = std::get_if<InputAction::ClickElement>(&action.value)) {
        UiElementInfo const info = element(pressed->snapshotId, pressed->elementId);
        co_return co_await confirmClick(info.frame.center(), std::move(connection));
    }
    if (auto const* const chord = std::get_if<InputAction::Key>(&action.value))
        co_return co_await confirmKeys(chord->keys, std::move(connection));
    auto const* const click = std::get_if<InputAction::Click>(&action.value);
    co_return click &&
        click->button == MouseButton::left&& co_await confirmClick(click->point, std::move(connection));
}

Task<bool> RpcRouter::confirmClick(DesktopPoint at, GrantedConnection connection)
{
    auto const probed = co_await members.probe.element(at);
    std::optional<ConfirmationSubject> const subject =
        probed ? SubmitButtonHeuristic::classify(*probed) : std::nullopt;
    co_return subject&& co_await ask(*subject, std::move(connection), confirmationTimeoutMs);
}

/// A key goes to whatever is in front, so what was allowed is pressed only where it was asked for.
Task<bool> RpcRouter::confirmKeys(std::vector<std::string> keys, GrantedConnection connection)
{
    auto const before = co_await members.probe.frontmostApp();
    if (!co_await confirmChord(std::move(keys), before, std::move(connection)))
        co_return false;
    if (before && !co_await isInFront(before->bundleId, Duration::zero()))
        throw co_await notFrontmost(before->bundleId, std::nullopt);
    co_return true;
}

Task<bool> RpcRouter::confirmChord(std::vector<std::string> keys,
                                   std::optional<FrontmostAppInfo> front,
                                   GrantedConnection connection)
{
    std::string const frontName = front ? front->name : localized("common.app");
    std::string const combination = DangerousShortcuts::normalize(keys);
    auto const bundleId = front ? std::optional(front->bundleId) : std::nullopt;
    if (auto const meaning = DangerousShortcuts::meaning(keys, bundleId)) {
        ConfirmationSubject const subject{ConfirmationSubject::KeyShortcut{combination, frontName, *meaning}};
        co_return co_await ask(subject, std::move(connection), confirmationTimeoutMs);
    }
    if (!DangerousShortcuts::activatesFocusedControl(keys))
        co_return false;
    if (auto const dialog = co_await members.probe.frontmostDialog()) {
        ConfirmationSubject const subject{ConfirmationSubject::DialogButton{
            localized("confirm.defaultButton", {combination}), dialog->appName.value_or(frontName)}};
        co_return co_await ask(subject, std::move(connection), confirmationTimeoutMs);
    }
    auto const focused = co_await members.probe.focusedElement();
    std::optional<ConfirmationSubject> const subject =
        focused ? SubmitButtonHeuristic::classify(*focused) : std::nullopt;
    co_return subject&& co_await ask(*subject, std::move(connection), confirmationTimeoutMs);
}

Task<bool> RpcRouter::ask(ConfirmationSubject subject, GrantedConnection connection, std::int64_t timeoutMs)
{
    if (!connection.policy.requiresConfirmation(subject))
        co_return false;
    co_await members.confirmations.confirm(std::move(subject), std::move(connection.platformName), timeoutMs);
    co_return true;
}

Task<> RpcRouter::askFirst(ConfirmationSubject subject,
                           std::optional<GrantedConnection> connection,
                           std::int64_t timeoutMs)
{
    if (members.mode == AgentMode::connected && connection)
        co_await ask(std::move(subject), *std::move(connection), timeoutMs);
}

std::int64_t RpcRouter::confirmationTimeout(json::object const& params)
{
    return read::integer(params, "confirmationTimeoutMs").value_or(confirmationTimeoutMs);
}

} // namespace zelvo
