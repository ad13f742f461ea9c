#pragma once

#include "base/Geometry.h"
#include "base/Task.h"
#include "confirm/Confirming.h"
#include "confirm/ElementProbing.h"
#include "router/Admission.h"
#include "router/FrontmostCheck.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Asks the person about what the asker's policy wants a yes for. Each question returns whether the person
/// was asked: then time has passed, and everything may have changed. Thread: any. Throws
/// AgentError::deniedByUser, AgentError::confirmationTimeout.
class Confirmations {
public:
    static constexpr std::int64_t defaultTimeoutMs = 60'000;

    Confirmations(Confirming& presenter, ElementProbing& probe, FrontmostCheck& frontmost)
        : presenter(presenter), probe(probe), frontmost(frontmost)
    {
    }

    /// How long a caller lets the person think: "confirmationTimeoutMs", or the default.
    static std::int64_t timeoutMs(json::object const& params);

    Task<bool>
    ask(ConfirmationSubject subject, std::optional<Asker> asker, std::int64_t timeoutMs = defaultTimeoutMs);
    /// Asks if a left click at this point would commit something. Throws AgentError::snapshotExpired in a
    /// DetailedAgentError if something else is there after the answer.
    Task<bool> askAboutClick(DesktopPoint at, Asker asker);
    /// Asks if this chord would commit something. Throws the same if it would press something else after the
    /// answer, and what FrontmostCheck throws if another application is in front: a key goes to whatever is
    /// in front.
    Task<bool> askAboutKeys(std::vector<std::string> keys, Asker asker);

private:
    /// A question and the element that it is about.
    struct Press {
        ConfirmationSubject subject;
        std::optional<ProbedElement> element = {};
        bool operator==(Press const&) const = default;
    };
    using PressOrNone = std::optional<Press>;

    static PressOrNone pressOf(std::optional<ProbedElement> element);
    Task<PressOrNone> pressAt(DesktopPoint at);
    Task<PressOrNone> pressBy(std::vector<std::string> keys, std::optional<FrontmostAppInfo> front);

    Confirming& presenter;
    ElementProbing& probe;
    FrontmostCheck& frontmost;
};

} // namespace zelvo
