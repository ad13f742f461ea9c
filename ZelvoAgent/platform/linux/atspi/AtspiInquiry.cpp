#include "platform/linux/atspi/AtspiInquiry.h"

#include "platform/linux/atspi/AtspiActions.h"
#include "platform/linux/atspi/AtspiCalls.h"
#include "platform/linux/atspi/Gtk4Answers.h"

#include <algorithm>
#include <memory>

namespace zelvo {

AtspiInquiry::AtspiInquiry(AtspiExchange& exchange, AtspiNodes& nodes, AtspiLink& bus, PeerId daemon)
    : exchange(exchange), nodes(nodes), bus(bus), daemon(daemon)
{
}

void AtspiInquiry::addApplication(PeerId peer, std::int32_t pid, AtspiToolkit toolkit)
{
    peers[exchange.nameOf(peer)] = {
        .peer = peer, .pid = pid, .isAsked = true, .isKnown = true, .isAllowed = true};
    toolkits[peer] = toolkit;
    ownPid = pid;
}

AtspiToolkit AtspiInquiry::toolkitOf(PeerId peer) const
{
    auto const known = toolkits.find(peer);
    return known == toolkits.end() ? AtspiToolkit() : known->second;
}

void AtspiInquiry::startAnew()
{
    exchange.cancelAll();
    nodes.forgetAnswers();
    waiting.clear();
    textKept = 0;
    for (auto& [name, side] : peers)
        if (!toolkits.contains(side.peer)) {
            side.isAllowed.reset();
            side.isAsked = side.isKnown;
        }
}

void AtspiInquiry::ask(Index index, AtspiQuestion question)
{
    AtspiNode& node = nodes[index];
    if (node.of(question) != AtspiNode::Progress::unasked)
        return;
    node.set(question, AtspiNode::Progress::asked);
    if (question == AtspiQuestion::children)
        askChildren(index);
    else if (question == AtspiQuestion::actions)
        askActions(index);
    else if (question == AtspiQuestion::text)
        askText(index);
    else
        send(index, question);
}

void AtspiInquiry::ensure(Index index, AtspiQuestion question)
{
    AtspiNode const& node = nodes[index];
    if (node.isAnswered(question))
        return;
    if (exchange.isOver())
        return exchange.noteMissing();
    awaited = {index, question};
    ask(index, question);
    auto const isDone = [&] { return node.isAnswered(question); };
    exchange.await(node.peer, isDone);
    // Children of another process wait for what the bus knows of it.
    if (!isDone() && waiting.contains(index))
        exchange.await(daemon, isDone);
    awaited.reset();
}

bool AtspiInquiry::isPutOff(Index index, AtspiQuestion question) const
{
    return exchange.isGivingUp() && exchange.hasDeadline() && awaited != std::pair(index, question);
}

BusMessagePtr AtspiInquiry::messageFor(AtspiNode const& node, AtspiQuestion question) const
{
    atspi::Method const method = atspi::methodOf(question);
    auto call = exchange.linkOf(node.peer).newCall(exchange.nameOf(node.peer), *node.path, method.interface,
                                                   method.member);
    if (call)
        atspi::appendArguments(call.get(), node, question, toolkitOf(node.peer));
    return call;
}

void AtspiInquiry::send(Index index, AtspiQuestion question)
{
    AtspiNode const& node = nodes[index];
    exchange.ask(node.peer, messageFor(node, question), [this, index, question](sd_bus_message* reply) {
        AtspiNode& asked = nodes[index];
        // It may have been forgotten, and asked anew, since then.
        if (asked.of(question) != AtspiNode::Progress::asked)
            return;
        if (!reply)
            return leave(index, question);
        std::size_t const before = asked.textSize();
        asked.take(question, reply);
        boundText(asked, before);
        if (toolkitOf(asked.peer).isGtk4)
            correctGtk4Answer(asked, question);
        onAnswered(index, question);
    });
}

void AtspiInquiry::boundText(AtspiNode& node, std::size_t before)
{
    std::size_t const now = node.textSize();
    textKept = textKept + now - before;
    if (textKept <= maxText)
        return;
    textKept -= now;
    node.forgetTexts();
    exchange.noteMissing();
}

bool AtspiInquiry::isStrictAboutText(Index index) const
{
    AtspiToolkit const toolkit = toolkitOf(nodes[index].peer);
    std::string_view const ax = nodes.axRole(index).role;
    // What can be edited and is no field of the toolkit's: a paragraph, for instance.
    bool const isOffices =
        toolkit.mayHoldOffice && ax != "AXTextField" && ax != "AXTextArea" && ax != "AXComboBox";
    return toolkit.isStrictAboutText || isOffices;
}

void AtspiInquiry::askText(Index index)
{
    if (!isStrictAboutText(index))
        return send(index, AtspiQuestion::text);
    AtspiNode& node = nodes[index];
    node.set(AtspiQuestion::textLength, AtspiNode::Progress::asked);
    exchange.ask(node.peer, messageFor(node, AtspiQuestion::textLength),
                 [this, index](sd_bus_message* reply) {
                     nodes[index].take(AtspiQuestion::textLength, reply);
                     if (!reply && exchange.isGivingUp())
                         return leave(index, AtspiQuestion::text);
                     if (nodes[index].of(AtspiQuestion::text) == AtspiNode::Progress::asked)
                         send(index, AtspiQuestion::text);
                 });
}

void AtspiInquiry::askActions(Index index)
{
    AtspiNode const& node = nodes[index];
    exchange.ask(node.peer, messageFor(node, AtspiQuestion::actions), [this, index](sd_bus_message* reply) {
        if (nodes[index].of(AtspiQuestion::actions) != AtspiNode::Progress::asked)
            return;
        if (!reply)
            return leave(index, AtspiQuestion::actions);
        takeActions(index, atspi::readActions(reply).value_or(std::vector<atspi::Action>()));
    });
}

void AtspiInquiry::takeActions(Index index, std::vector<atspi::Action> actions)
{
    auto const naming = std::make_shared<Naming>();
    for (atspi::Action const& action : actions)
        naming->names.push_back(action.name);
    AtspiToolkit const toolkit = toolkitOf(nodes[index].peer);
    if (!toolkit.translatesActions)
        return finishActions(index, naming->names);
    atspi::Action const untold;
    if (toolkit.hasActionsOfAll && !actions.empty() && actions.front() == untold) {
        actions.resize(1);
        naming->names.resize(1);
    }
    naming->missing = 1;
    for (std::size_t at = 0; at < actions.size(); ++at) {
        auto const known = actionNames.find({nodes[index].peer, actions[at]});
        if (known != actionNames.end())
            naming->names[at] = known->second;
        else
            askActionName(index, naming, at, actions[at]);
    }
    if (--naming->missing == 0)
        finishActions(index, naming->names);
}

void AtspiInquiry::askActionName(Index index,
                                 std::shared_ptr<Naming> const& naming,
                                 std::size_t at,
                                 atspi::Action const& action)
{
    AtspiNode const& node = nodes[index];
    auto call = exchange.linkOf(node.peer).newCall(exchange.nameOf(node.peer), *node.path,
                                                   atspi::actionInterface, "GetName");
    if (call)
        sd_bus_message_append(call.get(), "i", static_cast<std::int32_t>(at));
    ++naming->missing;
    exchange.ask(node.peer, std::move(call), [this, index, naming, at, action](sd_bus_message* reply) {
        if (auto name = reply ? atspi::readBoundedText(reply) : std::nullopt) {
            naming->names[at] = atspi::bounded(*name, atspi::maxActionNameLength);
            if (action != atspi::Action())
                actionNames[{nodes[index].peer, action}] = naming->names[at];
        }
        if (--naming->missing == 0)
            finishActions(index, naming->names);
    });
}

void AtspiInquiry::finishActions(Index index, std::vector<std::string> const& names)
{
    AtspiNode& node = nodes[index];
    if (node.of(AtspiQuestion::actions) != AtspiNode::Progress::asked)
        return;
    node.actions = axActionsOf(names);
    node.set(AtspiQuestion::actions, AtspiNode::Progress::answered);
    onAnswered(index, AtspiQuestion::actions);
}

void AtspiInquiry::askChildren(Index index)
{
    AtspiNode const& node = nodes[index];
    bool const mayBeMany =
        node.has(AtspiState::managesDescendants) && holdsManyChildren(node.role.value_or(AtspiRole::invalid));
    bool const listsSlowly = toolkitOf(node.peer).listsSlowly;
    // What is in a button out of sight is so too. Of a long page most elements are such.
    if (toolkitOf(node.peer).hidesWhatIsOutOfView && node.states && !node.has(AtspiState::showing) &&
        isLeafRole(node.role.value_or(AtspiRole::invalid)))
        return finishChildren(index, {});
    // The count comes first where a long list would keep the application busy for seconds.
    if ((mayBeMany || listsSlowly) && !node.isAnswered(AtspiQuestion::childCount) && !node.childCount)
        return askChildCount(index);
    std::int32_t const count = node.childCount.value_or(mayBeMany ? 0 : 1);
    if (count == 0)
        return finishChildren(index, {});
    if (mayBeMany && count > manyChildren)
        return askOneByOne(index, firstOfMany);
    if (listsSlowly && count > manyToListAtOnce)
        return askOneByOne(index, count);
    askAllChildren(index);
}

void AtspiInquiry::leave(Index index, AtspiQuestion question)
{
    if (isPutOff(index, question))
        return nodes[index].set(question, AtspiNode::Progress::unasked);
    nodes[index].take(question, nullptr);
    onAnswered(index, question);
}

void AtspiInquiry::askChildCount(Index index)
{
    AtspiNode& node = nodes[index];
    node.set(AtspiQuestion::childCount, AtspiNode::Progress::asked);
    exchange.ask(node.peer, messageFor(node, AtspiQuestion::childCount),
                 [this, index](sd_bus_message* reply) {
                     if (!reply && exchange.isGivingUp()) {
                         nodes[index].set(AtspiQuestion::childCount, AtspiNode::Progress::unasked);
                         return leave(index, AtspiQuestion::children);
                     }
                     nodes[index].take(AtspiQuestion::childCount, reply);
                     askChildren(index);
                 });
}

void AtspiInquiry::askAllChildren(Index index)
{
    AtspiNode const& node = nodes[index];
    exchange.ask(node.peer, messageFor(node, AtspiQuestion::children), [this, index](sd_bus_message* reply) {
        auto references = reply ? atspi::readReferences(reply) : std::nullopt;
        if (references)
            takeChildren(index, std::move(*references));
        else
            leave(index, AtspiQuestion::children);
    });
}

void AtspiInquiry::askOneByOne(Index index, std::int32_t count)
{
    auto const listing = std::make_shared<Listing>();
    listing->references.resize(std::min(static_cast<std::size_t>(count), atspi::maxChildren));
    listing->until = endOfListing();
    continueListing(index, listing);
}

std::optional<AtspiExchange::SteadyTime> AtspiInquiry::endOfListing() const
{
    auto const end = exchange.currentDeadline();
    auto const now = std::chrono::steady_clock::now();
    return end ? std::optional(now + (*end - now) / 2) : std::nullopt;
}

void AtspiInquiry::continueListing(Index index, std::shared_ptr<Listing> const& listing)
{
    auto const peer = nodes[index].peer;
    auto const count = static_cast<std::int32_t>(listing->references.size());
    auto const mayAsk = [&] {
        return listing->inFlight == 0 || (!exchange.isSilent(peer) && exchange.hasRoom(peer));
    };
    if (listing->next < count && listing->until && std::chrono::steady_clock::now() >= *listing->until) {
        listing->isCut = true;
        exchange.noteMissing();
    }
    // What has come by the end of its patience is the list.
    while (listing->next < count && !listing->isCut && !exchange.isGone(peer) && mayAsk())
        askChildAt(index, listing, listing->next++);
    if (listing->inFlight > 0 || nodes[index].isAnswered(AtspiQuestion::children))
        return;
    if (isPutOff(index, AtspiQuestion::children))
        return leave(index, AtspiQuestion::children);
    std::vector<atspi::Reference> found;
    for (auto& reference : listing->references)
        if (reference)
            found.push_back(std::move(*reference));
    takeChildren(index, std::move(found));
}

void AtspiInquiry::askChildAt(Index index, std::shared_ptr<Listing> const& listing, std::int32_t at)
{
    AtspiNode const& node = nodes[index];
    auto call = exchange.linkOf(node.peer).newCall(exchange.nameOf(node.peer), *node.path,
                                                   atspi::accessibleInterface, "GetChildAtIndex");
    if (call)
        sd_bus_message_append(call.get(), "i", at);
    ++listing->inFlight;
    exchange.ask(node.peer, std::move(call), [this, index, listing, at](sd_bus_message* reply) {
        --listing->inFlight;
        listing->isCut |= !reply && (exchange.isGivingUp() || exchange.isOver());
        if (reply)
            listing->references[static_cast<std::size_t>(at)] = atspi::readReference(reply);
        continueListing(index, listing);
    });
}

void AtspiInquiry::takeChildren(Index index, std::vector<atspi::Reference> references)
{
    if (identify(index, references))
        return finishChildren(index, references);
    waiting[index] = std::move(references);
}

void AtspiInquiry::finishChildren(Index index, std::vector<atspi::Reference> const& references)
{
    std::vector<Index> children;
    for (atspi::Reference const& reference : references) {
        PeerId peer = nodes[index].peer;
        if (isForeign(index, reference)) {
            auto const side = peers.find(reference.name);
            if (side == peers.end() || !allows(side->second))
                continue;
            peer = side->second.peer;
        }
        if (auto const child = nodes.find(peer, reference.path))
            children.push_back(*child);
    }
    nodes.adopt(index, children);
    nodes[index].set(AtspiQuestion::children, AtspiNode::Progress::answered);
    onAnswered(index, AtspiQuestion::children);
}

std::optional<AtspiNode::Index> AtspiInquiry::find(Index from, atspi::Reference const& reference)
{
    return isForeign(from, reference) ? std::nullopt : nodes.find(nodes[from].peer, reference.path);
}

BusMessagePtr AtspiInquiry::newCall(Index index, char const* interface, char const* member) const
{
    AtspiNode const& node = nodes[index];
    return exchange.linkOf(node.peer).newCall(exchange.nameOf(node.peer), *node.path, interface, member);
}

BusMessagePtr AtspiInquiry::hitCall(Index index, ReportedPoint point) const
{
    auto call = newCall(index, "org.a11y.atspi.Component", "GetAccessibleAtPoint");
    if (call)
        sd_bus_message_append(call.get(), "iiu", point.x, point.y, 0u); // Of the screen.
    return call;
}

void AtspiInquiry::announceHit(Index index, ReportedPoint point)
{
    exchange.ask(nodes[index].peer, hitCall(index, point), [](sd_bus_message*) {});
}

std::optional<AtspiNode::Index> AtspiInquiry::hitIn(Index index, ReportedPoint point)
{
    std::optional<atspi::Reference> hit;
    bool isAnswered = exchange.isOver();
    if (isAnswered)
        return std::nullopt;
    exchange.ask(nodes[index].peer, hitCall(index, point), [&](sd_bus_message* reply) {
        isAnswered = true;
        hit = reply ? atspi::readReference(reply) : std::nullopt;
    });
    exchange.await(nodes[index].peer, [&] { return isAnswered; });
    return hit ? find(index, *hit) : std::nullopt;
}

std::optional<AtspiNode::Index> AtspiInquiry::parentOf(Index index)
{
    ensure(index, AtspiQuestion::parent);
    auto const& claimed = nodes[index].claimed;
    return claimed ? find(index, *claimed) : std::nullopt;
}

std::optional<std::vector<AtspiNode::Index>> AtspiInquiry::focusedIn(Index index)
{
    constexpr std::uint32_t inTheirOrder = 1;
    if (!toolkitOf(nodes[index].peer).collects || exchange.isOver())
        return std::nullopt;
    auto call = newCall(index, "org.a11y.atspi.Collection", "GetMatches");
    if (call) {
        atspi::appendRuleOfState(call.get(), AtspiState::focused);
        sd_bus_message_append(call.get(), "uib", inTheirOrder, 0, 1);
    }
    std::optional<std::vector<atspi::Reference>> focused;
    bool isAnswered = false;
    exchange.ask(nodes[index].peer, std::move(call), [&](sd_bus_message* reply) {
        isAnswered = true;
        focused = reply ? atspi::readReferences(reply) : std::nullopt;
    });
    exchange.await(nodes[index].peer, [&] { return isAnswered; });
    if (!focused)
        return std::nullopt;
    std::vector<Index> found;
    for (atspi::Reference const& reference : *focused)
        if (auto const element = find(index, reference))
            found.push_back(*element);
    return found;
}

std::optional<std::int32_t> AtspiInquiry::processOf(Index index) const
{
    auto const side = peers.find(exchange.nameOf(nodes[index].peer));
    return side == peers.end() ? std::nullopt : side->second.pid;
}

bool AtspiInquiry::isForeign(Index index, atspi::Reference const& reference) const
{
    return !reference.name.empty() && reference.name != exchange.nameOf(nodes[index].peer);
}

AtspiInquiry::PeerProcess& AtspiInquiry::peerOf(std::string const& name)
{
    auto const [entry, isNew] = peers.try_emplace(name);
    if (isNew)
        entry->second.peer = exchange.addPeer(name, bus);
    return entry->second;
}

bool AtspiInquiry::identify(Index index, std::vector<atspi::Reference> const& references)
{
    for (atspi::Reference const& reference : references) {
        if (!isForeign(index, reference) || !isNewSide(reference.name))
            continue;
        peerOf(reference.name).isAsked = true;
        auto call = bus.newCall("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                "GetConnectionUnixProcessID");
        if (call)
            sd_bus_message_append(call.get(), "s", reference.name.c_str());
        exchange.ask(daemon, std::move(call), [this, name = reference.name](sd_bus_message* reply) {
            PeerProcess& known = peerOf(name);
            known.isKnown = true;
            if (auto const pid = reply ? readUnsigned(reply) : std::nullopt)
                known.pid = static_cast<std::int32_t>(*pid);
            auto const lists = std::exchange(waiting, {});
            for (auto const& [waiter, list] : lists)
                takeChildren(waiter, list);
        });
    }
    return std::ranges::all_of(references, [&](atspi::Reference const& reference) {
        return !isForeign(index, reference) || !peers.contains(reference.name) ||
               peers[reference.name].isKnown;
    });
}

bool AtspiInquiry::isNewSide(std::string const& name) const
{
    auto const known = peers.find(name);
    return known == peers.end() ? peers.size() < maxSides : !known->second.isAsked;
}

bool AtspiInquiry::allows(PeerProcess& side) const
{
    if (!side.isAllowed)
        side.isAllowed = side.pid && (side.pid == ownPid || (allowsProcess && allowsProcess(*side.pid)));
    return *side.isAllowed;
}

} // namespace zelvo
