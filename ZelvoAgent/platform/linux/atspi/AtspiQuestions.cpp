#include "platform/linux/atspi/AtspiQuestions.h"

#include "platform/linux/atspi/AtspiCalls.h"

namespace zelvo {

AtspiToolkit AtspiQuestions::toolkitOf(PeerId peer) const
{
    auto const known = toolkits.find(peer);
    return known == toolkits.end() ? AtspiToolkit() : known->second;
}

BusMessagePtr AtspiQuestions::newCall(Index index, char const* interface, char const* member) const
{
    AtspiNode const& node = nodes[index];
    return exchange.linkOf(node.peer).newCall(exchange.nameOf(node.peer), *node.path, interface, member);
}

BusMessagePtr AtspiQuestions::messageFor(Index index, AtspiQuestion question) const
{
    atspi::Method const method = atspi::methodOf(question);
    auto call = newCall(index, method.interface, method.member);
    if (call)
        atspi::appendArguments(call.get(), nodes[index], question, toolkitOfElement(index));
    return call;
}

void AtspiQuestions::send(Index index, AtspiQuestion question, AtspiExchange::OnAnswer onAnswer)
{
    exchange.ask(nodes[index].peer, messageFor(index, question), std::move(onAnswer));
}

bool AtspiQuestions::isOpen(Index index, AtspiQuestion question) const
{
    return nodes[index].of(question) == AtspiNode::Progress::asked;
}

bool AtspiQuestions::isPutOff(Index index, AtspiQuestion question) const
{
    return exchange.isGivingUp() && exchange.hasDeadline() && awaited != std::pair(index, question);
}

void AtspiQuestions::leave(Index index, AtspiQuestion question)
{
    if (isPutOff(index, question))
        return nodes[index].set(question, AtspiNode::Progress::unasked);
    nodes[index].take(question, nullptr);
    onAnswered(index, question);
}

void AtspiQuestions::finish(Index index, AtspiQuestion question)
{
    nodes[index].set(question, AtspiNode::Progress::answered);
    onAnswered(index, question);
}

void AtspiQuestions::boundText(AtspiNode& node, std::size_t before)
{
    std::size_t const now = node.textSize();
    textKept = textKept + now - before;
    if (textKept <= maxText)
        return;
    textKept -= now;
    node.forgetTexts();
    exchange.noteMissing();
}

} // namespace zelvo
