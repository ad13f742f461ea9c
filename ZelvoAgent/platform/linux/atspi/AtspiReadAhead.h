#pragma once

#include "platform/Accessibility.h"
#include "platform/linux/atspi/AtspiElements.h"
#include "platform/linux/atspi/AtspiPlaces.h"

#include <vector>

namespace zelvo {

/// Asks ahead of a walk: elements in the order in which the walk will come to them, as many questions at a
/// time as the application can take, and no further than a bounded number of elements. Thread: one.
class AtspiReadAhead {
public:
    using Index = AtspiNode::Index;
    /// Elements that were asked about and that the walk has not come to.
    static constexpr std::size_t furthest = 512;

    AtspiReadAhead(AtspiExchange& exchange,
                   AtspiInquiry& inquiry,
                   AtspiNodes& nodes,
                   AtspiElements& elements,
                   AtspiPlaces const& places)
        : exchange(exchange), inquiry(inquiry), nodes(nodes), elements(elements), places(places)
    {
    }

    void plan(AccessibilityPlan next);
    bool hasPlan() const { return isPlanned; }
    AccessibilityPlan const& current() const { return accessibilityPlan; }

    /// The walk begins at these, or goes on with them.
    void startAt(std::vector<Index> const& roots);
    /// The walk has come to an element.
    void reach(Index index);
    void noteAnswer(Index index, AtspiQuestion question);
    /// Is the element one that it has asked about or will?
    bool covers(Index index) const;
    /// Sends what may be sent.
    void fill();

private:
    enum class Stage : std::uint8_t { unknown, waiting, opened, detailed };
    struct Mark {
        Stage stage = Stage::unknown;
        bool isReached = false;
        bool awaitsExtents = false; ///< what else to ask depends on its place
        int depth = 0;              ///< of the walk
    };
    /// Something to do, at an element's place in the walk. Siblings are opened one after the other by one
    /// task.
    struct Task {
        Index node = 0;
        bool isOpening = false;
    };

    Mark& markOf(Index index);
    void push(Task task);
    bool comesLater(Task const& left, Task const& right) const;
    bool maySend(Task task) const;
    void open(Index index);
    void openSiblingAfter(Index index);
    void askDetails(Index index);
    bool wantsDetails(Index index) const;
    bool isPlacedFirst(Index index) const;
    bool isOutOfView(Index index) const;
    void followChildren(Index index);

    AtspiExchange& exchange;
    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
    AtspiElements& elements;
    AtspiPlaces const& places;
    AccessibilityPlan accessibilityPlan;
    bool isPlanned = false;
    bool isFilling = false;
    std::size_t ahead = 0;
    std::vector<Task> tasks; // a heap, the first in the walk on top
    std::vector<Mark> marks; // by index
};

} // namespace zelvo
