#include "platform/linux/atspi/AtspiReadAhead.h"

#include <algorithm>
#include <utility>

namespace zelvo {

void AtspiReadAhead::plan(AccessibilityPlan next)
{
    accessibilityPlan = std::move(next);
    isPlanned = true;
    tasks.clear();
    marks.clear();
    ahead = 0;
}

AtspiReadAhead::Mark& AtspiReadAhead::markOf(Index index)
{
    if (marks.size() <= index)
        marks.resize(std::max<std::size_t>(nodes.size(), index + 1));
    return marks[index];
}

bool AtspiReadAhead::covers(Index index) const
{
    return index < marks.size() && marks[index].stage != Stage::unknown;
}

void AtspiReadAhead::startAt(std::vector<Index> const& roots)
{
    for (Index const root : roots) {
        Mark& mark = markOf(root);
        if (mark.stage != Stage::unknown)
            continue;
        mark = {.stage = Stage::waiting};
        push({.node = root, .isOpening = true});
    }
    fill();
}

void AtspiReadAhead::reach(Index index)
{
    Mark& mark = markOf(index);
    if (mark.isReached)
        return;
    mark.isReached = true;
    if (mark.stage >= Stage::opened)
        --ahead;
    // Refill in strides: the application always has work, and the heap is used rarely.
    if (ahead % 16 == 0)
        fill();
}

void AtspiReadAhead::push(Task task)
{
    tasks.push_back(task);
    std::ranges::push_heap(tasks, [this](Task const& a, Task const& b) { return comesLater(a, b); });
}

bool AtspiReadAhead::comesLater(Task const& left, Task const& right) const
{
    if (left.node != right.node)
        return nodes.isBefore(right.node, left.node);
    return left.isOpening && !right.isOpening;
}

void AtspiReadAhead::fill()
{
    if (!isPlanned || isFilling)
        return;
    isFilling = true;
    while (!tasks.empty()) {
        Task const task = tasks.front();
        if (!maySend(task))
            break;
        std::ranges::pop_heap(tasks, [this](Task const& a, Task const& b) { return comesLater(a, b); });
        tasks.pop_back();
        if (task.isOpening)
            open(task.node);
        else
            askDetails(task.node);
    }
    isFilling = false;
}

bool AtspiReadAhead::maySend(Task task) const
{
    auto const peer = nodes[task.node].peer;
    if (exchange.isSilent(peer))
        return peer != nodes[0].peer; // A silent other process must not delay the application itself.
    return exchange.hasRoom(peer) && (!task.isOpening || ahead < furthest);
}

void AtspiReadAhead::open(Index index)
{
    openSiblingAfter(index);
    Mark& mark = markOf(index);
    if (mark.stage != Stage::waiting || exchange.isSilent(nodes[index].peer))
        return;
    mark.stage = Stage::opened;
    if (!mark.isReached)
        ++ahead;
    elements.askIdentity(index);
    if (elements.isIdentified(index))
        noteAnswer(index, AtspiQuestion::states);
}

void AtspiReadAhead::openSiblingAfter(Index index)
{
    AtspiNode const& node = nodes[index];
    if (!node.parent || !covers(*node.parent) || !nodes[*node.parent].children)
        return;
    auto const& siblings = *nodes[*node.parent].children;
    std::size_t const next = node.place + 1;
    if (next >= siblings.size())
        return;
    int const depth = markOf(index).depth;
    Mark& mark = markOf(siblings[next]);
    if (mark.stage == Stage::unknown)
        mark = {.stage = Stage::waiting, .isReached = mark.isReached, .depth = depth};
    push({.node = siblings[next], .isOpening = true});
}

void AtspiReadAhead::noteAnswer(Index index, AtspiQuestion question)
{
    if (question == AtspiQuestion::role)
        elements.noteRole(index);
    if (!covers(index))
        return;
    Mark& mark = markOf(index);
    bool const isIdentity = question == AtspiQuestion::role || question == AtspiQuestion::states;
    if (isIdentity && mark.stage == Stage::opened && elements.isIdentified(index)) {
        mark.stage = Stage::detailed;
        push({.node = index, .isOpening = false});
    } else if (mark.stage == Stage::detailed) {
        if (question == AtspiQuestion::children)
            followChildren(index);
        else if (question == AtspiQuestion::extents && std::exchange(mark.awaitsExtents, false))
            push({.node = index, .isOpening = false});
        else if (question == AtspiQuestion::properties)
            inquiry.ask(index, AtspiQuestion::children);
        else if (question == AtspiQuestion::interfaces && elements.mayHaveValue(index) == true)
            inquiry.ask(index, AtspiQuestion::text);
    }
    fill();
}

bool AtspiReadAhead::isPlacedFirst(Index index) const
{
    return !inquiry.toolkitOf(nodes[index].peer).hidesWhatIsOutOfView &&
           nodes[index].of(AtspiQuestion::extents) == AtspiNode::Progress::unasked;
}

/// A cheap guess: if it is wrong, the walk asks by itself.
bool AtspiReadAhead::isOutOfView(Index index) const
{
    auto const& own = nodes[index].extents;
    if (!own || inquiry.toolkitOf(nodes[index].peer).hidesWhatIsOutOfView)
        return false;
    for (auto above = nodes[index].parent; above; above = nodes[*above].parent)
        if (auto const& outer = nodes[*above].extents; outer && !own->meets(*outer))
            return true;
    return false;
}

bool AtspiReadAhead::wantsDetails(Index index) const
{
    return elements.isShowing(index) && accessibilityPlan.describes &&
           accessibilityPlan.describes(nodes.axRole(index).role);
}

void AtspiReadAhead::askDetails(Index index)
{
    if (!elements.exists(index) || exchange.isSilent(nodes[index].peer))
        return;
    bool mayHaveNone = false; // Its properties will show whether it has children.
    bool const wanted = wantsDetails(index);
    if (wanted && isPlacedFirst(index)) {
        markOf(index).awaitsExtents = true;
        inquiry.ask(index, AtspiQuestion::extents);
    } else if (wanted && !isOutOfView(index))
        for (AtspiQuestion const question : elements.details(index)) {
            inquiry.ask(index, question);
            mayHaveNone |= question == AtspiQuestion::properties;
        }
    else if (elements.isShowing(index) && places.mattersToPlaces(index))
        inquiry.ask(index, AtspiQuestion::extents);
    if (!mayHaveNone || nodes[index].isAnswered(AtspiQuestion::properties))
        inquiry.ask(index, AtspiQuestion::children);
    if (nodes[index].isAnswered(AtspiQuestion::children))
        followChildren(index);
}

void AtspiReadAhead::followChildren(Index index)
{
    auto const& children = nodes[index].children;
    int const depth = markOf(index).depth + 1;
    if (!children || children->empty() || depth > accessibilityPlan.maxDepth)
        return;
    Mark& mark = markOf(children->front());
    if (mark.stage != Stage::unknown)
        return;
    mark = {.stage = Stage::waiting, .isReached = mark.isReached, .depth = depth};
    push({.node = children->front(), .isOpening = true});
}

} // namespace zelvo
