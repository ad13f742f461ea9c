#pragma once

#include "platform/linux/atspi/AtspiExchange.h"
#include "platform/linux/atspi/AtspiNodes.h"
#include "platform/linux/atspi/AtspiToolkit.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <utility>

namespace zelvo {

/// What every part of an inquiry uses: calls to the application of an element, and the rules for missing
/// answers. Thread: one.
class AtspiQuestions {
public:
    using Index = AtspiNode::Index;
    using PeerId = AtspiExchange::PeerId;

    static constexpr std::size_t maxText = 8u << 20; ///< bytes, of all elements together

    /// Both must outlive it.
    AtspiQuestions(AtspiExchange& exchange, AtspiNodes& nodes) : exchange(exchange), nodes(nodes) {}

    AtspiExchange& exchange;
    AtspiNodes& nodes;
    /// Called after each answer, also after a missing one.
    std::function<void(Index, AtspiQuestion)> onAnswered = [](Index, AtspiQuestion) {};
    /// The question that the reader waits for now.
    std::optional<std::pair<Index, AtspiQuestion>> awaited;
    std::map<PeerId, AtspiToolkit> toolkits;

    AtspiToolkit toolkitOf(PeerId peer) const;
    AtspiToolkit toolkitOfElement(Index index) const { return toolkitOf(nodes[index].peer); }

    BusMessagePtr newCall(Index index, char const* interface, char const* member) const;
    BusMessagePtr messageFor(Index index, AtspiQuestion question) const;
    /// Sends the call of a question to the element's application.
    void send(Index index, AtspiQuestion question, AtspiExchange::OnAnswer onAnswer);

    /// False if the question was forgotten, and perhaps sent again, since it was sent.
    bool isOpen(Index index, AtspiQuestion question) const;
    /// True if the peer is being given up but the call was read ahead only, so it can be sent again.
    bool isPutOff(Index index, AtspiQuestion question) const;
    /// Handles a missing answer: the question may be asked again if it is put off, else it counts as
    /// answered.
    void leave(Index index, AtspiQuestion question);
    void finish(Index index, AtspiQuestion question);

    /// Drops an element's texts once all texts exceed the limit.
    /// before  bytes of the element's texts before the last answer
    void boundText(AtspiNode& node, std::size_t before);
    /// All answers are forgotten.
    void startAnew() { textKept = 0; }

private:
    std::size_t textKept = 0; ///< bytes
};

} // namespace zelvo
