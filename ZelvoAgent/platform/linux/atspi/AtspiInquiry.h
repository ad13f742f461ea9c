#pragma once

#include "platform/linux/atspi/AtspiActionNames.h"
#include "platform/linux/atspi/AtspiChildLists.h"
#include "platform/linux/atspi/AtspiNodes.h"
#include "platform/linux/atspi/AtspiPeers.h"
#include "platform/linux/atspi/AtspiQuestions.h"
#include "platform/linux/atspi/AtspiToolkit.h"
#include "platform/linux/atspi/WindowFit.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace zelvo {

/// Asks applications about elements and keeps the answers; each question once. Children of other processes
/// are followed where that is allowed. Thread: one.
class AtspiInquiry {
public:
    using Index = AtspiNode::Index;
    using PeerId = AtspiExchange::PeerId;

    static constexpr std::size_t maxText = 8u << 20; ///< bytes, of all elements together

    /// Both must outlive it. bus: the link to the accessibility bus
    AtspiInquiry(AtspiExchange& exchange, AtspiNodes& nodes, AtspiLink& bus, PeerId daemon);

    /// Told of each answer, also of a missing one.
    std::function<void(Index, AtspiQuestion)> onAnswered = [](Index, AtspiQuestion) {};
    /// May elements of another process be read?
    std::function<bool(std::int32_t pid)> allowsProcess;

    void addApplication(PeerId peer, std::int32_t pid, AtspiToolkit toolkit);
    AtspiToolkit toolkitOf(PeerId peer) const { return questions.toolkitOf(peer); }
    /// Forgets all answers, those on their way too, and what was allowed.
    void startAnew();

    /// Sends the question, unless that was done before. Role and states must be answered for `children`.
    void ask(Index index, AtspiQuestion question);
    /// The same, and waits for the answer.
    void ensure(Index index, AtspiQuestion question);

    /// What its application says is drawn at a point inside an element, which waits for the answer. Nothing
    /// for an element of another process.
    std::optional<Index> hitIn(Index index, ReportedPoint point);
    /// Lets its application find out what is there, without waiting.
    void announceHit(Index index, ReportedPoint point);
    /// The element that calls itself its parent; waits for the answer.
    std::optional<Index> parentOf(Index index);
    /// Those in an element that have the focus, as the application finds them; waits for the answer. Nothing
    /// when it does not look for them itself.
    std::optional<std::vector<Index>> focusedIn(Index index);
    /// The process that an element belongs to.
    std::optional<std::int32_t> processOf(Index index) const;
    /// The element that another one of the same application refers to.
    std::optional<Index> find(Index from, atspi::Reference const& reference);

private:
    void send(Index index, AtspiQuestion question);
    void askText(Index index);
    bool isStrictAboutText(Index index) const;
    /// Lets go of an element's texts when they are too much. before: how much of them there was
    void boundText(AtspiNode& node, std::size_t before);
    BusMessagePtr hitCall(Index index, ReportedPoint point) const;

    AtspiExchange& exchange;
    AtspiNodes& nodes;
    AtspiPeers peers;
    AtspiQuestions questions;
    AtspiActionNames actionNames;
    AtspiChildLists childLists;
    std::size_t textKept = 0; ///< bytes
};

} // namespace zelvo
