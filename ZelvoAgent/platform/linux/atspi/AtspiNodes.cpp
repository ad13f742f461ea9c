#include "platform/linux/atspi/AtspiNodes.h"

#include <algorithm>

namespace zelvo {

namespace {

template <class T>
std::optional<T> read(sd_bus_message* reply, std::optional<T> (*reader)(sd_bus_message*))
{
    return reply ? reader(reply) : std::nullopt;
}

std::vector<atspi::Reference> labelsIn(std::vector<atspi::Relation> const& relations)
{
    constexpr std::uint32_t labelledBy = 2;
    auto const found = std::ranges::find(relations, labelledBy, &atspi::Relation::type);
    return found == relations.end() ? std::vector<atspi::Reference>() : found->targets;
}

} // namespace

void AtspiNode::take(AtspiQuestion question, sd_bus_message* reply)
{
    using enum AtspiQuestion;
    set(question, Progress::answered);
    switch (question) {
    case role:
        this->role = read(reply, atspi::readRole);
        break;
    case states:
        this->states = read(reply, atspi::readStates);
        break;
    case interfaces:
        this->interfaces = read(reply, atspi::readInterfaces);
        break;
    case childCount:
        this->childCount = read(reply, atspi::readNumberProperty);
        break;
    case name:
        this->name = read(reply, atspi::readTextProperty);
        break;
    case description:
        this->description = read(reply, atspi::readTextProperty);
        break;
    case properties:
        if (auto answer = read(reply, atspi::readProperties)) {
            this->name = std::move(answer->name);
            this->description = std::move(answer->description);
            this->help = std::move(answer->help);
            this->identifier = std::move(answer->identifier);
            this->childCount = answer->childCount;
        }
        break;
    case identifier:
        this->identifier = reply ? atspi::readAttribute(reply, "id") : std::nullopt;
        break;
    case extents:
        this->extents = read(reply, atspi::readExtents);
        break;
    case textLength:
        this->textLength = read(reply, atspi::readNumberProperty);
        break;
    case text:
        this->text = read(reply, atspi::readBoundedText);
        break;
    case labels:
        this->labels = labelsIn(read(reply, atspi::readRelations).value_or(std::vector<atspi::Relation>()));
        break;
    case parent:
        this->claimed = read(reply, atspi::readReferenceProperty);
        break;
    case children:
    case actions:
        break;
    }
}

void AtspiNode::forget()
{
    AtspiNode blank;
    blank.peer = peer;
    blank.path = path;
    *this = std::move(blank);
}

std::size_t AtspiNode::textSize() const
{
    std::size_t sum = 0;
    for (auto const* each : {&name, &description, &help, &identifier, &text})
        sum += *each ? (*each)->size() : 0;
    for (std::string const& action : actions)
        sum += action.size();
    return sum;
}

void AtspiNode::forgetTexts()
{
    for (auto* each : {&name, &description, &help, &identifier, &text})
        each->reset();
    actions.clear();
}

std::optional<AtspiNodes::Index> AtspiNodes::find(AtspiExchange::PeerId peer, std::string const& path)
{
    if (byPath.size() <= peer)
        byPath.resize(peer + 1);
    auto& known = byPath[peer];
    if (auto const entry = known.find(path); entry != known.end())
        return entry->second;
    if (nodes.size() >= maxNodes)
        return std::nullopt;
    auto const index = static_cast<Index>(nodes.size());
    auto const entry = known.emplace(path, index).first;
    AtspiNode& node = nodes.emplace_back();
    node.peer = peer;
    node.path = &entry->first;
    return index;
}

void AtspiNodes::adopt(Index parent, std::vector<Index> const& listed)
{
    std::vector<Index> children;
    children.reserve(listed.size());
    for (Index const child : listed) {
        AtspiNode& node = nodes[child];
        bool const isAnothers = node.parent && (node.isListed || *node.parent != parent);
        if (isAnothers || child == 0 || isAbove(child, parent)) // The application has no parent.
            continue;
        node.parent = parent;
        node.isListed = true;
        node.place = static_cast<std::uint32_t>(children.size());
        node.level = nodes[parent].level + 1;
        children.push_back(child);
    }
    nodes[parent].isAParent |= !children.empty();
    nodes[parent].children = std::move(children);
}

bool AtspiNodes::hang(Index child, Index parent)
{
    AtspiNode& node = nodes[child];
    if (node.parent)
        return *node.parent == parent;
    if (child == 0 || isAbove(child, parent))
        return false;
    node.parent = parent;
    node.level = nodes[parent].level + 1;
    nodes[parent].isAParent = true;
    return true;
}

bool AtspiNodes::isAbove(Index upper, Index lower) const
{
    if (!nodes[upper].isAParent)
        return upper == lower;
    for (std::optional<Index> at = lower; at; at = nodes[*at].parent)
        if (*at == upper)
            return true;
    return false;
}

void AtspiNodes::forgetAnswers()
{
    for (AtspiNode& node : nodes)
        node.forget();
}

bool AtspiNodes::isBefore(Index left, Index right) const
{
    if (left == right)
        return false;
    Index const first = left;
    while (nodes[left].level > nodes[right].level && nodes[left].parent)
        left = *nodes[left].parent;
    while (nodes[right].level > nodes[left].level && nodes[right].parent)
        right = *nodes[right].parent;
    if (left == right)
        return left == first; // One is the other's ancestor: it comes first.
    while (nodes[left].parent != nodes[right].parent && nodes[left].parent && nodes[right].parent) {
        left = *nodes[left].parent;
        right = *nodes[right].parent;
    }
    return nodes[left].place < nodes[right].place;
}

AxRole AtspiNodes::axRole(Index index) const
{
    AtspiNode const& node = nodes[index];
    return axRoleOf(node.role.value_or(AtspiRole::invalid), node.states.value_or(AtspiStates()),
                    placeOf(index));
}

AtspiPlace AtspiNodes::placeOf(Index index) const
{
    auto const parent = nodes[index].parent;
    if (!parent)
        return {};
    return {.isInApplication = *parent == 0, .isInMenuBar = nodes[*parent].role == AtspiRole::menuBar};
}

bool AtspiNodes::isSecret(Index index) const
{
    for (std::optional<Index> at = index; at; at = nodes[*at].parent)
        if (nodes[*at].role == AtspiRole::passwordText)
            return true;
    return false;
}

} // namespace zelvo
