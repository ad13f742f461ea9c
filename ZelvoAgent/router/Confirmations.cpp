#include "router/Confirmations.h"

#include "base/LocalizedTexts.h"
#include "confirm/DangerousShortcuts.h"
#include "confirm/SubmitButtonHeuristic.h"
#include "wire/AgentError.h"

namespace zelvo {

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
    co_return co_await askAboutPress(co_await probe.element(at), std::move(asker));
}

Task<bool> Confirmations::askAboutPress(std::optional<ProbedElement> element, Asker asker)
{
    std::optional<ConfirmationSubject> subject;
    if (element)
        subject = SubmitButtonHeuristic::classify(*element);
    if (!subject)
        co_return false;
    co_return co_await ask(*std::move(subject), std::move(asker));
}

Task<bool> Confirmations::askAboutKeys(std::vector<std::string> keys, Asker asker)
{
    auto const before = co_await probe.frontmostApp();
    // It came to the front after the guard's check; a later refusal would name it.
    if (before && before->isHidden)
        throw AgentError::hiddenAppActive;
    if (!co_await askAboutChord(std::move(keys), before, std::move(asker)))
        co_return false;
    if (before)
        co_await frontmost.assertInFront(before->bundleId, Duration::zero());
    co_return true;
}

Task<bool> Confirmations::askAboutChord(std::vector<std::string> keys,
                                        std::optional<FrontmostAppInfo> front,
                                        Asker asker)
{
    std::string const frontName = front ? front->name : localized("common.app");
    std::string const combination = DangerousShortcuts::normalize(keys);
    auto const bundleId = front ? std::optional(front->bundleId) : std::nullopt;
    if (auto const meaning = DangerousShortcuts::meaning(keys, bundleId)) {
        ConfirmationSubject const subject{ConfirmationSubject::KeyShortcut{combination, frontName, *meaning}};
        co_return co_await ask(subject, std::move(asker));
    }
    if (!DangerousShortcuts::activatesFocusedControl(keys))
        co_return false;
    if (auto const dialog = co_await probe.frontmostDialog()) {
        ConfirmationSubject const subject{ConfirmationSubject::DialogButton{
            localized("confirm.defaultButton", {combination}), dialog->appName.value_or(frontName)}};
        co_return co_await ask(subject, std::move(asker));
    }
    co_return co_await askAboutPress(co_await probe.focusedElement(), std::move(asker));
}

} // namespace zelvo
