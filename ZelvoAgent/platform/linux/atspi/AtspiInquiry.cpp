#include "platform/linux/atspi/AtspiInquiry.h"

#include "platform/linux/atspi/AtspiCalls.h"
#include "platform/linux/atspi/Gtk4Answers.h"

#include <utility>

namespace zelvo {

AtspiInquiry::AtspiInquiry(AtspiExchange& exchange, AtspiNodes& nodes, AtspiLink& bus, PeerId daemon)
    : exchange(exchange), nodes(nodes), peers(exchange, bus, daemon), questions(exchange, nodes),
      actionNames(questions), childLists(questions, peers)
{
    questions.onAnswered = [this](Index index, AtspiQuestion question) { onAnswered(index, question); };
    peers.allowsProcess = [this](std::int32_t pid) { return allowsProcess && allowsProcess(pid); };
}

void AtspiInquiry::addApplication(PeerId peer, std::int32_t pid, AtspiToolkit toolkit)
{
    peers.addApplication(peer, pid);
    questions.toolkits[peer] = toolkit;
}

void AtspiInquiry::startAnew()
{
    exchange.cancelAll();
    nodes.forgetAnswers();
    childLists.startAnew();
    questions.startAnew();
    peers.startAnew();
}

void AtspiInquiry::ask(Index index, AtspiQuestion question)
{
    AtspiNode& node = nodes[index];
    if (node.of(question) != AtspiNode::Progress::unasked)
        return;
    node.set(question, AtspiNode::Progress::asked);
    if (question == AtspiQuestion::children)
        childLists.ask(index);
    else if (question == AtspiQuestion::actions)
        actionNames.ask(index);
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
    questions.awaited = {index, question};
    ask(index, question);
    auto const isDone = [&] { return node.isAnswered(question); };
    exchange.await(node.peer, isDone);
    // Children of another process wait until the bus has reported its process id.
    if (!isDone() && childLists.waitsForProcesses(index))
        exchange.await(peers.busDaemon(), isDone);
    questions.awaited.reset();
}

void AtspiInquiry::send(Index index, AtspiQuestion question)
{
    questions.send(index, question, [this, index, question](sd_bus_message* reply) {
        if (!questions.isOpen(index, question))
            return;
        if (!reply)
            return questions.leave(index, question);
        AtspiNode& asked = nodes[index];
        std::size_t const before = asked.textSize();
        asked.take(question, reply);
        questions.boundText(asked, before);
        if (toolkitOf(asked.peer).isGtk4)
            correctGtk4Answer(asked, question);
        onAnswered(index, question);
    });
}

bool AtspiInquiry::isStrictAboutText(Index index) const
{
    AtspiToolkit const toolkit = toolkitOf(nodes[index].peer);
    std::string_view const ax = nodes.axRole(index).role;
    // Editable text that is no toolkit field, for instance a paragraph, belongs to LibreOffice.
    bool const isOffices =
        toolkit.mayHoldOffice && ax != "AXTextField" && ax != "AXTextArea" && ax != "AXComboBox";
    return toolkit.isStrictAboutText || isOffices;
}

void AtspiInquiry::askText(Index index)
{
    if (!isStrictAboutText(index))
        return send(index, AtspiQuestion::text);
    nodes[index].set(AtspiQuestion::textLength, AtspiNode::Progress::asked);
    questions.send(index, AtspiQuestion::textLength, [this, index](sd_bus_message* reply) {
        nodes[index].take(AtspiQuestion::textLength, reply);
        if (!reply && exchange.isGivingUp())
            return questions.leave(index, AtspiQuestion::text);
        if (questions.isOpen(index, AtspiQuestion::text))
            send(index, AtspiQuestion::text);
    });
}

std::optional<AtspiNode::Index> AtspiInquiry::find(Index from, atspi::Reference const& reference)
{
    return childLists.isForeign(from, reference) ? std::nullopt
                                                 : nodes.find(nodes[from].peer, reference.path);
}

BusMessagePtr AtspiInquiry::hitCall(Index index, ReportedPoint point) const
{
    auto call = questions.newCall(index, "org.a11y.atspi.Component", "GetAccessibleAtPoint");
    if (call)
        sd_bus_message_append(call.get(), "iiu", point.x, point.y, 0u); // Relative to the screen.
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

bool AtspiInquiry::call(Index index,
                        char const* interface,
                        char const* member,
                        Arguments const& arguments,
                        std::function<void(sd_bus_message*)> const& onReply)
{
    auto message = questions.newCall(index, interface, member);
    bool isDone = exchange.isOver() || !message;
    bool isAnswered = false;
    if (isDone)
        return false;
    arguments(message.get());
    exchange.ask(nodes[index].peer, std::move(message), [&](sd_bus_message* reply) {
        isDone = true;
        isAnswered = reply != nullptr;
        if (reply && onReply)
            onReply(reply);
    });
    exchange.await(nodes[index].peer, [&] { return isDone; });
    return isAnswered;
}

std::optional<AtspiNode::Index> AtspiInquiry::parentOf(Index index)
{
    ensure(index, AtspiQuestion::parent);
    auto const& claimed = nodes[index].claimed;
    return claimed ? find(index, *claimed) : std::nullopt;
}

std::optional<std::vector<AtspiNode::Index>> AtspiInquiry::withState(Index index, AtspiState state)
{
    constexpr std::uint32_t inTheirOrder = 1;
    if (!toolkitOf(nodes[index].peer).collects || exchange.isOver())
        return std::nullopt;
    auto call = questions.newCall(index, "org.a11y.atspi.Collection", "GetMatches");
    if (call) {
        atspi::appendRuleOfState(call.get(), state);
        sd_bus_message_append(call.get(), "uib", inTheirOrder, 0, 1);
    }
    std::optional<std::vector<atspi::Reference>> matches;
    bool isAnswered = false;
    exchange.ask(nodes[index].peer, std::move(call), [&](sd_bus_message* reply) {
        isAnswered = true;
        matches = reply ? atspi::readReferences(reply) : std::nullopt;
    });
    exchange.await(nodes[index].peer, [&] { return isAnswered; });
    if (!matches)
        return std::nullopt;
    std::vector<Index> found;
    for (atspi::Reference const& reference : *matches)
        if (auto const element = find(index, reference))
            found.push_back(*element);
    return found;
}

std::optional<std::int32_t> AtspiInquiry::processOf(Index index) const
{
    return peers.processOf(nodes[index].peer);
}

} // namespace zelvo
