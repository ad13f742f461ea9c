#include "router/Confirmations.h"

#include "base/LocalizedTexts.h"
#include "confirm/ButtonRoles.h"
#include "confirm/SubmitButtonHeuristic.h"
#include "drivers/Chord.h"
#include "drivers/KeyCodes.h"
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
    auto const subject = element ? subjectOfPress(*element, asker) : std::nullopt;
    co_return subject&& co_await ask(*subject, std::move(asker));
}

std::optional<ConfirmationSubject> Confirmations::subjectOfPress(ProbedElement const& element,
                                                                 Asker const& asker)
{
    auto subject = SubmitButtonHeuristic::classify(element);
    return subject && asker.policy.requiresConfirmation(*subject) ? std::move(subject) : std::nullopt;
}

Task<bool> Confirmations::askAboutKeys(std::vector<std::string> keys,
                                       std::optional<FrontmostAppInfo> front,
                                       Asker asker,
                                       Strictness strictness)
{
    // It came to the front after the guard's check; a later refusal would name it.
    if (front && front->isHidden)
        throw AgentError::hiddenAppActive;
    Press press{.keys = keys, .given = {}, .front = std::move(front), .strictness = strictness};
    press.given = co_await givenBy(std::move(keys));
    co_return co_await askAboutChord(std::move(press), std::move(asker));
}

Task<DangerousShortcuts::Chords> Confirmations::givenBy(std::vector<std::string> keys)
{
    Chord const chord = Chord::of(keys);
    auto const code = chord.key ? KeyCodes::code(*chord.key) : std::nullopt;
    if (!layout || !code)
        co_return DangerousShortcuts::Chords();
    KeyEvent event;
    event.keyCode = *code;
    event.flags = chord.flags;
    co_return co_await layout->chordsOf(event);
}

Task<bool> Confirmations::askAboutChord(Press press, Asker asker)
{
    std::string const frontName = press.front ? press.front->name : localized("common.app");
    auto const bundleId = press.front ? std::optional(press.front->bundleId) : std::nullopt;
    bool const isStrict = press.strictness == Strictness::strict;
    if (auto const match = DangerousShortcuts::match(press.keys, bundleId, press.given)) {
        ConfirmationSubject const subject{
            ConfirmationSubject::KeyShortcut{match->combination, frontName, match->meaning}};
        bool const wasAsked = co_await ask(subject, asker);
        if (wasAsked || !isStrict)
            co_return wasAsked;
    }
    if (isStrict) {
        if (auto const key = DangerousShortcuts::activatingKey(press.keys, press.given))
            co_return co_await askAboutActivation(*key, frontName, press.strictness, std::move(asker));
        co_return false;
    }
    if (!DangerousShortcuts::activatesFocusedControl(press.keys, press.given))
        co_return false;
    std::string const combination = DangerousShortcuts::normalize(press.keys);
    co_return co_await askAboutActivation(combination, frontName, press.strictness, std::move(asker));
}

Task<bool>
Confirmations::askAboutActivation(std::string key, std::string frontName, Strictness strictness, Asker asker)
{
    if (auto const dialog = co_await probe.frontmostDialog()) {
        ConfirmationSubject const subject{ConfirmationSubject::DialogButton{
            localized("confirm.defaultButton", {key}), dialog->appName.value_or(frontName)}};
        co_return co_await ask(subject, std::move(asker));
    }
    auto const focused = co_await probe.focusedElement();
    if (co_await askAboutPress(focused, asker))
        co_return true;
    // A button takes Return itself, and so does a text of several lines.
    bool const takesReturn = focused && (isButtonRole(focused->role) || focused->role == "AXTextArea");
    if (strictness == Strictness::ordinary || key != "return" || takesReturn)
        co_return false;
    co_return co_await askAboutPress(co_await probe.defaultButton(), std::move(asker));
}

} // namespace zelvo
