#pragma once

#include "platform/linux/atspi/AtspiInquiry.h"

#include <vector>

namespace zelvo {

/// Makes Chromium build its web tree, which it does when somebody asks a window of its for attributes. To
/// anything else it is one question without a consequence. Thread: one; blocks.
class ChromiumWaking {
public:
    static constexpr Duration maxWait = 300ms;

    ChromiumWaking(AtspiExchange& exchange, AtspiInquiry& inquiry, AtspiNodes& nodes)
        : exchange(exchange), inquiry(inquiry), nodes(nodes)
    {
    }

    /// Asks each window once, and waits until there are more elements than before, or `maxWait`. False when
    /// no window answered.
    bool wake(std::vector<AtspiNode::Index> const& windows);

private:
    bool askForAttributes(AtspiNode::Index window);
    /// Elements near the top of the windows, as they are now.
    std::size_t count(std::vector<AtspiNode::Index> const& windows);

    AtspiExchange& exchange;
    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
};

} // namespace zelvo
