#include "router/Confirmations.h"

#include "base/Hop.h"
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
    co_await services.presenter.confirm(std::move(subject), asker->platformName, timeoutMs);
    co_await assertMayStillAct(*std::move(asker));
    co_return true;
}

Task<> Confirmations::assertMayStillAct(Asker asker) const
{
    co_await on(services.main, [&] {
        if (asker.scope)
            services.state.assertScope(*asker.scope, asker.connectionId);
        services.state.assertReady();
    });
}

DetailedAgentError Confirmations::changedMeanwhile()
{
    DetailedAgentError changed;
    changed.error = AgentError::snapshotExpired;
    changed.message = "What was asked about is no longer there. Look at the screen again.";
    return changed;
}

Task<> Confirmations::askAboutClick(DesktopPoint at, Asker asker, Recheck recheck)
{
    Look const look = [this, at] { return services.probe.element(at); };
    co_await askAboutPress(look, std::move(asker), std::move(recheck));
}

Task<bool> Confirmations::askAboutPress(Look look, Asker asker, Recheck recheck)
{
    PressOrNone const before = pressOf(co_await look());
    if (!before || !co_await ask(before->subject, std::move(asker)))
        co_return false;
    co_await recheck();
    if (pressOf(co_await look()) != before)
        throw changedMeanwhile();
    co_return true;
}

Task<> Confirmations::askAboutKeys(Keys keys, Asker asker, Recheck recheck)
{
    // It came to the front after the guard's check; a later refusal would name it.
    if (keys.front && keys.front->isHidden)
        throw AgentError::hiddenAppActive;
    PressOrNone const before = co_await pressBy(keys, asker);
    if (!before || !co_await ask(before->subject, asker))
        co_return;
    co_await recheck();
    if (co_await pressBy(std::move(keys), std::move(asker)) != before)
        throw changedMeanwhile();
}

std::optional<ConfirmationSubject> Confirmations::subjectOfPress(ProbedElement const& element,
                                                                 Asker const& asker)
{
    auto subject = SubmitButtonHeuristic::classify(element);
    return subject && asker.policy.requiresConfirmation(*subject) ? std::move(subject) : std::nullopt;
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

Task<DangerousShortcuts::Chords> Confirmations::givenBy(std::vector<std::string> keys) const
{
    Chord const chord = Chord::of(keys);
    auto const code = chord.key ? KeyCodes::code(*chord.key) : std::nullopt;
    if (!services.layout || !code)
        co_return DangerousShortcuts::Chords();
    KeyEvent event;
    event.keyCode = *code;
    event.flags = chord.flags;
    co_return co_await services.layout->chordsOf(event);
}

Task<Confirmations::PressOrNone> Confirmations::pressBy(Keys keys, Asker asker)
{
    auto const given = co_await givenBy(keys.names);
    bool const isStrict = keys.strictness == Strictness::strict;
    std::string const frontName = keys.front ? keys.front->name : localized("common.app");
    auto const bundleId = keys.front ? std::optional(keys.front->bundleId) : std::nullopt;
    auto const activating = DangerousShortcuts::activatingKey(keys.names, given);
    auto match = DangerousShortcuts::match(keys.names, bundleId, given);
    if (isStrict && !match && activating)
        match = DangerousShortcuts::match({*activating}, bundleId, {});
    if (match) {
        Press shortcut{{ConfirmationSubject::KeyShortcut{match->combination, frontName, match->meaning}}};
        if (!isStrict || asker.policy.requiresConfirmation(shortcut.subject))
            co_return shortcut;
    }
    std::optional<std::string> key;
    if (isStrict)
        key = activating;
    else if (DangerousShortcuts::activatesFocusedControl(keys.names, given))
        key = DangerousShortcuts::normalize(keys.names);
    if (!key)
        co_return std::nullopt;
    co_return co_await activationBy(*std::move(key), frontName, std::move(keys), std::move(asker));
}

ConfirmationSubject Confirmations::unknownButton()
{
    return {ConfirmationSubject::SubmitButton{localized("confirm.unnamedButton")}};
}

Task<Confirmations::PressOrNone>
Confirmations::activationBy(std::string key, std::string frontName, Keys keys, Asker asker)
{
    bool const isStrict = keys.strictness == Strictness::strict;
    if (auto dialog = co_await services.probe.frontmostDialog()) {
        ConfirmationSubject const subject{ConfirmationSubject::DialogButton{
            localized("confirm.defaultButton", {key}), dialog->appName.value_or(frontName)}};
        co_return Press{subject, std::move(dialog)};
    }
    auto const focused =
        co_await (isStrict ? services.probe.currentElement() : services.probe.focusedElement());
    auto press = pressOf(focused);
    if (press && asker.policy.requiresConfirmation(press->subject))
        co_return press;
    if (!keys.isFocusKnown)
        co_return Press{unknownButton()};
    // A button takes Return itself, and so does a text of several lines.
    bool const takesReturn = focused && (isPressedByReturn(focused->role) || focused->role == "AXTextArea");
    if (!isStrict || key != "return" || takesReturn)
        co_return std::nullopt;
    auto button = co_await services.probe.defaultButton();
    if (button && button->isUnknown)
        co_return Press{unknownButton(), std::move(button)};
    co_return pressOf(std::move(button));
}

} // namespace zelvo
