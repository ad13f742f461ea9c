#pragma once

#include "platform/linux/atspi/AtspiInquiry.h"

#include <vector>

namespace zelvo {

/// Makes Chromium build its web tree, which it does when somebody asks one of its windows for attributes. To
/// other applications this is one question without effect. Thread: one; blocks.
class ChromiumWaking {
public:
    static constexpr Duration maxWait = 300ms;

    ChromiumWaking(AtspiExchange& exchange, AtspiInquiry& inquiry, AtspiNodes& nodes)
        : exchange(exchange), inquiry(inquiry), nodes(nodes)
    {
    }

    /// Asks each window once, and waits until there are more elements than before, at most for `maxWait` and
    /// never beyond the exchange's deadline. False if no window answered.
    bool wake(std::vector<AtspiNode::Index> const& windows);

private:
    /// `maxWait` from now, or the exchange's deadline if that is earlier.
    AtspiExchange::SteadyTime endOfWait() const;
    bool askForAttributes(AtspiNode::Index window);
    /// Number of elements near the top of the windows.
    std::size_t count(std::vector<AtspiNode::Index> const& windows);

    AtspiExchange& exchange;
    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
};

} // namespace zelvo
