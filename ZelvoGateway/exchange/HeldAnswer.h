#pragma once

#include "ZelvoGateway/exchange/Exchange.h"

#include <memory>
#include <string>

namespace zelvo::service {

/// The answer of a holder at this node. The clock must outlive the task. Throws Failure: timeout, or the
/// holder's own; internalError in place of every other exception. Cancelling the task cancels the holder's.
Task<std::string> answerOf(std::shared_ptr<MachineHolder> holder,
                           std::string kind,
                           std::string text,
                           Clock* clock,
                           Duration patience);

} // namespace zelvo::service
