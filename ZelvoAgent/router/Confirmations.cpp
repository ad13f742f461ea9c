#include "router/Confirmations.h"

#include "base/LocalizedTexts.h"
#include "confirm/DangerousShortcuts.h"
#include "confirm/SubmitButtonHeuristic.h"
#include "wire/AgentError.h"

namespace zelvo {

namespace {

/// The person said yes to what was there. An application can put something else in its place meanwhile.
template <class Press>
void assertSame(Press const& asked, Press const& now)
{
    if (now == asked)
        return;
    DetailedAgentError changed;
    changed.error = AgentError::snapshotExpired;
    changed.message = "What was asked about is no longer there. Look at the screen again.";
    throw changed;
}

} // namespace

std::int64_t Confirmations::timeoutMs(json::object const& params)
{
    return read::integer(params, "confirmationTimeoutMs").value_or(defaultTimeoutMs);
}

Task<bool> Confirmations::ask(ConfirmationSubject subject, std::optional<Asker> asker, std::int64_t timeoutMs)
{
    if (!asker || !asker->policy.requiresConfirmation(subject))
        co_return false;
    co_await presenter.confirm(std::move(subject), std::move(asker->platformName), timeoutMs);
    co_return true;
}

Task<bool> Confirmations::askAboutClick(DesktopPoint at, Asker asker)
{
    PressOrNone const before = co_await pressAt(at);
    if (!before || !co_await ask(before->subject, std::move(asker)))
        co_return false;
    assertSame(before, co_await pressAt(at));
    co_return true;
}

Task<bool> Confirmations::askAboutKeys(std::vector<std::string> keys, Asker asker)
{
    auto const front = co_await probe.frontmostApp();
    PressOrNone const before = co_await pressBy(keys, front);
    if (!before || !co_await ask(before->subject, std::move(asker)))
        co_return false;
    if (front)
        co_await frontmost.assertInFront(front->bundleId, Duration::zero());
    assertSame(before, co_await pressBy(std::move(keys), front));
    co_return true;
}

Confirmations::PressOrNone Confirmations::pressOf(std::optional<ProbedElement> element)
{
    std::optional<ConfirmationSubject> subject;
    if (element)
        subject = SubmitButtonHeuristic::classify(*element);
    if (!subject)
        return std::nullopt;
    return Press{*std::move(subject), std::move(element)};
}

Task<Confirmations::PressOrNone> Confirmations::pressAt(DesktopPoint at)
{
    co_return pressOf(co_await probe.element(at));
}

Task<Confirmations::PressOrNone> Confirmations::pressBy(std::vector<std::string> keys,
                                                        std::optional<FrontmostAppInfo> front)
{
    std::string const frontName = front ? front->name : localized("common.app");
    std::string const combination = DangerousShortcuts::normalize(keys);
    auto const bundleId = front ? std::optional(front->bundleId) : std::nullopt;
    if (auto const meaning = DangerousShortcuts::meaning(keys, bundleId))
        co_return Press{{ConfirmationSubject::KeyShortcut{combination, frontName, *meaning}}};
    if (!DangerousShortcuts::activatesFocusedControl(keys))
        co_return std::nullopt;
    if (auto dialog = co_await probe.frontmostDialog()) {
        ConfirmationSubject const subject{ConfirmationSubject::DialogButton{
            localized("confirm.defaultButton", {combination}), dialog->appName.value_or(frontName)}};
        co_return Press{subject, std::move(dialog)};
    }
    co_return pressOf(co_await probe.focusedElement());
}

} // namespace zelvo
