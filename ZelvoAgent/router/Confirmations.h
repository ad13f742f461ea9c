#pragma once

#include "base/Contexts.h"
#include "base/Geometry.h"
#include "base/Task.h"
#include "confirm/Confirming.h"
#include "confirm/DangerousShortcuts.h"
#include "confirm/ElementProbing.h"
#include "platform/KeyboardLayout.h"
#include "router/Admission.h"
#include "state/AgentState.h"
#include "wire/AgentError.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Whether Return and Space are judged with any modifiers, and a default button is searched for.
enum class Strictness { ordinary, strict };

/// Asks the person about what the asker's policy wants a yes for, and after the yes whether the asker may
/// still act. Thread: any. Throws AgentError::deniedByUser, AgentError::confirmationTimeout, and what
/// AgentState::assertScope and assertReady throw.
class Confirmations {
public:
    static constexpr std::int64_t defaultTimeoutMs = 60'000;

    struct Services {
        Executor main;
        AgentState& state;
        Confirming& presenter;
        ElementProbing& probe;
        KeyboardLayout* layout; ///< null: keys are judged by their names alone
    };

    explicit Confirmations(Services services) : services(std::move(services)) {}

    /// How long a caller lets the person think: "confirmationTimeoutMs", or the default.
    static std::int64_t timeoutMs(json::object const& params);

    /// Returns whether the person was asked: then time has passed, and everything may have changed.
    Task<bool>
    ask(ConfirmationSubject subject, std::optional<Asker> asker, std::int64_t timeoutMs = defaultTimeoutMs);
    /// Checks everything else again after a yes: the panel was in front, and time has passed.
    using Recheck = std::function<Task<>()>;
    /// What a click would press at this moment.
    using Look = std::function<Task<std::optional<ProbedElement>>()>;
    /// Asks if a press of what `look` gives would commit something; then `recheck` is called. Throws
    /// changedMeanwhile() if something else is there after the answer. False if nothing had to be asked.
    Task<bool> askAboutPress(Look look, Asker asker, Recheck recheck);
    /// The same for a left click at this point.
    Task<> askAboutClick(DesktopPoint at, Asker asker, Recheck recheck);
    /// A chord, and the application in front that gets it.
    struct Keys {
        std::vector<std::string> names;
        std::optional<FrontmostAppInfo> front;
        Strictness strictness = Strictness::ordinary;
        bool isFocusKnown = true; ///< if not, what is pressed is not known either
    };
    /// The same for a chord. Throws also AgentError::hiddenAppActive if the application is hidden.
    Task<> askAboutKeys(Keys keys, Asker asker, Recheck recheck);
    /// What the asker must ask about before this element is pressed.
    static std::optional<ConfirmationSubject> subjectOfPress(ProbedElement const& element,
                                                             Asker const& asker);
    /// For a press of which nobody knows what it presses.
    static ConfirmationSubject unknownButton();
    /// An application put something else in the place of what the person said yes to.
    static DetailedAgentError changedMeanwhile();

private:
    /// A question and the element that it is about.
    struct Press {
        ConfirmationSubject subject;
        std::optional<ProbedElement> element = {};
        bool operator==(Press const&) const = default;
    };
    using PressOrNone = std::optional<Press>;

    /// As at the command's admission: the person may have paused, locked or taken the right away meanwhile.
    Task<> assertMayStillAct(Asker asker) const;
    static PressOrNone pressOf(std::optional<ProbedElement> element);
    /// What a chord would press, and the asker asks about.
    Task<PressOrNone> pressBy(Keys keys, Asker asker);
    Task<PressOrNone> activationBy(std::string key, std::string frontName, Keys keys, Asker asker);
    /// The chords that the keyboard layout gives.
    Task<DangerousShortcuts::Chords> givenBy(std::vector<std::string> keys) const;

    Services services;
};

} // namespace zelvo
