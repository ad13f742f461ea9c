#pragma once

#include "platform/linux/atspi/AtspiExchange.h"
#include "platform/linux/atspi/AtspiNodes.h"
#include "platform/linux/atspi/AtspiToolkit.h"

#include <functional>
#include <map>
#include <optional>
#include <utility>

namespace zelvo {

/// What every part of an inquiry needs: calls to the application of an element, and the rules for an answer
/// that does not come. Thread: one.
class AtspiQuestions {
public:
    using Index = AtspiNode::Index;
    using PeerId = AtspiExchange::PeerId;

    /// Both must outlive it.
    AtspiQuestions(AtspiExchange& exchange, AtspiNodes& nodes) : exchange(exchange), nodes(nodes) {}

    AtspiExchange& exchange;
    AtspiNodes& nodes;
    /// Sees each answer, also a missing one.
    std::function<void(Index, AtspiQuestion)> onAnswered = [](Index, AtspiQuestion) {};
    /// The question that the reader waits for at present.
    std::optional<std::pair<Index, AtspiQuestion>> awaited;
    std::map<PeerId, AtspiToolkit> toolkits;

    AtspiToolkit toolkitOf(PeerId peer) const;
    AtspiToolkit toolkitOfElement(Index index) const { return toolkitOf(nodes[index].peer); }

    BusMessagePtr newCall(Index index, char const* interface, char const* member) const;
    BusMessagePtr messageFor(Index index, AtspiQuestion question) const;
    /// Sends the call of a question to the element's application.
    void send(Index index, AtspiQuestion question, AtspiExchange::OnAnswer onAnswer);

    /// False once the question was forgotten, and perhaps asked anew, since it was sent.
    bool isOpen(Index index, AtspiQuestion question) const;
    /// Is it one of the calls that a silent application was asked ahead, which can be asked again?
    bool isPutOff(Index index, AtspiQuestion question) const;
    /// There is no answer: for now when it is put off, else for good.
    void leave(Index index, AtspiQuestion question);
    void finish(Index index, AtspiQuestion question);
};

} // namespace zelvo
