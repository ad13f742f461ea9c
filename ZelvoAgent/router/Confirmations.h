#pragma once

#include "base/Geometry.h"
#include "base/Task.h"
#include "confirm/Confirming.h"
#include "confirm/ElementProbing.h"
#include "router/Admission.h"

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

    Confirmations(Confirming& presenter, ElementProbing& probe) : presenter(presenter), probe(probe) {}

    /// How long a caller lets the person think: "confirmationTimeoutMs", or the default.
    static std::int64_t timeoutMs(json::object const& params);

    Task<bool>
    ask(ConfirmationSubject subject, std::optional<Asker> asker, std::int64_t timeoutMs = defaultTimeoutMs);
    /// Asks if a left click at this point would commit something.
    Task<bool> askAboutClick(DesktopPoint at, Asker asker);
    /// Asks if this chord would commit something in the application `front`, which is in front.
    Task<bool>
    askAboutKeys(std::vector<std::string> keys, std::optional<FrontmostAppInfo> front, Asker asker);

private:
    Task<bool> askAboutPress(std::optional<ProbedElement> element, Asker asker);

    Confirming& presenter;
    ElementProbing& probe;
};

} // namespace zelvo
