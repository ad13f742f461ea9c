#pragma once

#include "base/Geometry.h"
#include "base/Task.h"
#include "confirm/Confirming.h"
#include "confirm/DangerousShortcuts.h"
#include "confirm/ElementProbing.h"
#include "platform/KeyboardLayout.h"
#include "router/Admission.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Whether Return and Space are judged with any modifiers, and a default button is searched for.
enum class Strictness { ordinary, strict };

/// Asks the person about what the asker's policy wants a yes for. Each question returns whether the person
/// was asked: then time has passed, and everything may have changed. Thread: any. Throws
/// AgentError::deniedByUser, AgentError::confirmationTimeout.
class Confirmations {
public:
    static constexpr std::int64_t defaultTimeoutMs = 60'000;

    /// layout  null: keys are judged by their names alone
    Confirmations(Confirming& presenter, ElementProbing& probe, KeyboardLayout* layout)
        : presenter(presenter), probe(probe), layout(layout)
    {
    }

    /// How long a caller lets the person think: "confirmationTimeoutMs", or the default.
    static std::int64_t timeoutMs(json::object const& params);

    Task<bool>
    ask(ConfirmationSubject subject, std::optional<Asker> asker, std::int64_t timeoutMs = defaultTimeoutMs);
    /// Asks if a left click at this point would commit something.
    Task<bool> askAboutClick(DesktopPoint at, Asker asker);
    /// Asks if this chord would commit something in the application `front`, which is in front.
    /// Throws  AgentError::hiddenAppActive if that application is hidden
    Task<bool> askAboutKeys(std::vector<std::string> keys,
                            std::optional<FrontmostAppInfo> front,
                            Asker asker,
                            Strictness strictness = Strictness::ordinary);
    /// What the asker must ask about before this element is pressed.
    static std::optional<ConfirmationSubject> subjectOfPress(ProbedElement const& element,
                                                             Asker const& asker);

private:
    struct Press {
        std::vector<std::string> keys;
        DangerousShortcuts::Chords given; ///< by the keyboard layout
        std::optional<FrontmostAppInfo> front;
        Strictness strictness = Strictness::ordinary;
    };
    Task<DangerousShortcuts::Chords> givenBy(std::vector<std::string> keys);
    Task<bool> askAboutChord(Press press, Asker asker);
    Task<bool> askAboutActivation(std::string key, std::string frontName, Strictness strictness, Asker asker);
    Task<bool> askAboutPress(std::optional<ProbedElement> element, Asker asker);

    Confirming& presenter;
    ElementProbing& probe;
    KeyboardLayout* layout;
};

} // namespace zelvo
