#pragma once

#include "base/Task.h"
#include "confirm/ConfirmationSubject.h"

#include <cstdint>
#include <string>

namespace zelvo {

/// Asks the person to confirm an action. Thread: any; resumes the caller on the caller's executor.
/// Made by: confirm/ConfirmationPresenter, tests/fakes/FakeConfirming.
class Confirming {
public:
    virtual ~Confirming() = default;
    /// Resumes when the person has allowed the action.
    /// platformName  the platform that the agent acts for
    /// Throws        AgentError::deniedByUser, AgentError::confirmationTimeout
    virtual Task<> confirm(ConfirmationSubject subject, std::string platformName, std::int64_t timeoutMs) = 0;
};

} // namespace zelvo
