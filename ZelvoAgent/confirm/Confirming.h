#pragma once

#include "base/Task.h"
#include "confirm/ConfirmationSubject.h"

#include <cstdint>
#include <string>

namespace zelvo {

/// Asks the person for a yes. Thread: any; resumes the caller on its own executor.
/// Made by: confirm/ConfirmationPresenter, tests/fakes/FakeConfirming.
class Confirming {
public:
    virtual ~Confirming() = default;
    /// Resumes when the person has allowed it.
    /// platformName  on whose behalf the agent acts
    /// Throws        AgentError::deniedByUser, AgentError::confirmationTimeout
    virtual Task<> confirm(ConfirmationSubject subject, std::string platformName, std::int64_t timeoutMs) = 0;
};

} // namespace zelvo
