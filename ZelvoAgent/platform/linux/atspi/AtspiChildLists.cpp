#include "platform/linux/atspi/AtspiChildLists.h"

#include "platform/linux/atspi/AtspiCalls.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace zelvo {

void AtspiChildLists::ask(Index index)
{
    AtspiNode const& node = questions.nodes[index];
    AtspiRole const role = node.role.value_or(AtspiRole::invalid);
    AtspiToolkit const toolkit = questions.toolkitOf(node.peer);
    bool const mayBeMany = node.has(AtspiState::managesDescendants) && holdsManyChildren(role);
    // The parts of a button out of view are out of view too; in a long page that is most elements.
    if (toolkit.hidesWhatIsOutOfView && node.states && !node.has(AtspiState::showing) && isLeafRole(role))
        return finish(index, {});
    // Where listing many children would keep the application busy for seconds, ask for their number first.
    if ((mayBeMany || toolkit.listsSlowly) && !node.isAnswered(AtspiQuestion::childCount) && !node.childCount)
        return askCount(index);
    std::int32_t const count = node.childCount.value_or(mayBeMany ? 0 : 1);
    if (count == 0)
        return finish(index, {});
    if (mayBeMany && count > manyChildren)
        return askOneByOne(index, firstOfMany);
    if (toolkit.listsSlowly && count > manyToListAtOnce)
        return askOneByOne(index, count);
    askAll(index);
}

void AtspiChildLists::askCount(Index index)
{
    questions.nodes[index].set(AtspiQuestion::childCount, AtspiNode::Progress::asked);
    questions.send(index, AtspiQuestion::childCount, [this, index](sd_bus_message* reply) {
        AtspiNode& node = questions.nodes[index];
        if (!reply && questions.exchange.isGivingUp()) {
            node.set(AtspiQuestion::childCount, AtspiNode::Progress::unasked);
            return questions.leave(index, AtspiQuestion::children);
        }
        node.take(AtspiQuestion::childCount, reply);
        ask(index);
    });
}

void AtspiChildLists::askAll(Index index)
{
    questions.send(index, AtspiQuestion::children, [this, index](sd_bus_message* reply) {
        auto references = reply ? atspi::readReferences(reply) : std::nullopt;
        if (references)
            take(index, std::move(*references));
        else
            questions.leave(index, AtspiQuestion::children);
    });
}

void AtspiChildLists::askOneByOne(Index index, std::int32_t count)
{
    auto const listing = std::make_shared<Listing>();
    listing->references.resize(std::min(static_cast<std::size_t>(count), atspi::maxChildren));
    listing->until = endOfListing();
    continueListing(index, listing);
}

std::optional<AtspiExchange::SteadyTime> AtspiChildLists::endOfListing() const
{
    auto const end = questions.exchange.currentDeadline();
    auto const now = std::chrono::steady_clock::now();
    return end ? std::optional(now + (*end - now) / 2) : std::nullopt;
}

void AtspiChildLists::continueListing(Index index, std::shared_ptr<Listing> const& listing)
{
    AtspiExchange& exchange = questions.exchange;
    auto const peer = questions.nodes[index].peer;
    auto const count = static_cast<std::int32_t>(listing->references.size());
    auto const mayAsk = [&] {
        return listing->inFlight == 0 || (!exchange.isSilent(peer) && exchange.hasRoom(peer));
    };
    if (listing->next < count && listing->until && std::chrono::steady_clock::now() >= *listing->until) {
        listing->isCut = true;
        exchange.noteMissing();
    }
    // The list is what has arrived when the patience ends.
    while (listing->next < count && !listing->isCut && !exchange.isGone(peer) && mayAsk())
        askChildAt(index, listing, listing->next++);
    if (listing->inFlight > 0 || questions.nodes[index].isAnswered(AtspiQuestion::children))
        return;
    if (questions.isPutOff(index, AtspiQuestion::children))
        return questions.leave(index, AtspiQuestion::children);
    std::vector<atspi::Reference> found;
    for (auto& reference : listing->references)
        if (reference)
            found.push_back(std::move(*reference));
    take(index, std::move(found));
}

void AtspiChildLists::askChildAt(Index index, std::shared_ptr<Listing> const& listing, std::int32_t at)
{
    AtspiExchange& exchange = questions.exchange;
    auto call = questions.newCall(index, atspi::accessibleInterface, "GetChildAtIndex");
    if (call)
        sd_bus_message_append(call.get(), "i", at);
    ++listing->inFlight;
    auto onAnswer = [this, &exchange, index, listing, at](sd_bus_message* reply) {
        --listing->inFlight;
        listing->isCut |= !reply && (exchange.isGivingUp() || exchange.isOver());
        if (reply)
            listing->references[static_cast<std::size_t>(at)] = atspi::readReference(reply);
        continueListing(index, listing);
    };
    exchange.ask(questions.nodes[index].peer, std::move(call), std::move(onAnswer));
}

void AtspiChildLists::take(Index index, std::vector<atspi::Reference> references)
{
    if (identify(index, references))
        return finish(index, references);
    waiting[index] = std::move(references);
}

void AtspiChildLists::finish(Index index, std::vector<atspi::Reference> const& references)
{
    AtspiNodes& nodes = questions.nodes;
    std::vector<Index> children;
    for (atspi::Reference const& reference : references) {
        auto const peer = isForeign(index, reference) ? peers.readablePeer(reference.name)
                                                      : std::optional(nodes[index].peer);
        if (!peer)
            continue;
        if (auto const child = nodes.find(*peer, reference.path))
            children.push_back(*child);
    }
    nodes.adopt(index, children);
    questions.finish(index, AtspiQuestion::children);
}

bool AtspiChildLists::isForeign(Index index, atspi::Reference const& reference) const
{
    return !reference.name.empty() &&
           reference.name != questions.exchange.nameOf(questions.nodes[index].peer);
}

bool AtspiChildLists::identify(Index index, std::vector<atspi::Reference> const& references)
{
    auto const takeWaiting = [this] {
        auto const lists = std::exchange(waiting, {});
        for (auto const& [waiter, list] : lists)
            take(waiter, list);
    };
    for (atspi::Reference const& reference : references)
        if (isForeign(index, reference))
            peers.identify(reference.name, takeWaiting);
    return std::ranges::all_of(references, [&](atspi::Reference const& reference) {
        return !isForeign(index, reference) || peers.isSettled(reference.name);
    });
}

} // namespace zelvo
