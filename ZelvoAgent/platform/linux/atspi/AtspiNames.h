#pragma once

#include "platform/linux/atspi/AtspiApplication.h"
#include "platform/linux/atspi/AtspiElements.h"
#include "platform/linux/atspi/AtspiInquiry.h"

#include <optional>
#include <string>

namespace zelvo {

/// Names the elements of an application so that a later reader finds them again. Thread: one; blocks.
class AtspiNames {
public:
    using Index = AtspiNode::Index;

    /// application  found on the bus; all must outlive this
    AtspiNames(AtspiInquiry& inquiry,
               AtspiNodes& nodes,
               AtspiElements& known,
               AtspiApplication const& application)
        : inquiry(inquiry), nodes(nodes), known(known), application(application)
    {
    }

    /// Empty for an element of another process.
    std::string nameOf(Index index) const;
    /// `nullopt` if it is gone, hidden, or in no window of the application that a click could reach.
    std::optional<Index> find(std::string const& name);

private:
    /// Hangs an element and its parents into the tree. False if a click could not reach it.
    bool reach(Index index);
    bool isInReach(Index window);

    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
    AtspiElements& known;
    AtspiApplication const& application;
};

} // namespace zelvo
