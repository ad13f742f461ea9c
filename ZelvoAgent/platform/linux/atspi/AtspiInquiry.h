#pragma once

#include "platform/linux/atspi/AtspiActionNames.h"
#include "platform/linux/atspi/AtspiChildLists.h"
#include "platform/linux/atspi/AtspiNodes.h"
#include "platform/linux/atspi/AtspiPeers.h"
#include "platform/linux/atspi/AtspiQuestions.h"
#include "platform/linux/atspi/AtspiToolkit.h"
#include "platform/linux/atspi/WindowFit.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace zelvo {

/// Asks applications about elements and keeps the answers; each question is sent once. Children of other
/// processes are followed if that is allowed. Thread: one.
class AtspiInquiry {
public:
    using Index = AtspiNode::Index;
    using PeerId = AtspiExchange::PeerId;

    /// exchange  like `nodes`, must outlive this
    /// bus       the link to the accessibility bus
    AtspiInquiry(AtspiExchange& exchange, AtspiNodes& nodes, AtspiLink& bus, PeerId daemon);

    /// Called after each answer, also after a missing one.
    std::function<void(Index, AtspiQuestion)> onAnswered = [](Index, AtspiQuestion) {};
    /// Whether elements of another process may be read.
    std::function<bool(std::int32_t pid)> allowsProcess;

    void addApplication(PeerId peer, std::int32_t pid, AtspiToolkit toolkit);
    AtspiToolkit toolkitOf(PeerId peer) const { return questions.toolkitOf(peer); }
    /// Forgets all answers, including those in flight, and which processes are allowed.
    void startAnew();

    /// Sends the question unless it was sent before. Ask for `children` only after role and states are
    /// answered.
    void ask(Index index, AtspiQuestion question);
    /// The same, and waits for the answer.
    void ensure(Index index, AtspiQuestion question);

    /// The application's hit test for a point inside an element; waits for the answer. `nullopt` for an
    /// element of another process.
    std::optional<Index> hitIn(Index index, ReportedPoint point);
    /// Starts the application's hit test without waiting for the answer.
    void announceHit(Index index, ReportedPoint point);
    using Arguments = std::function<void(sd_bus_message* call)>;
    /// Calls a method of an element and waits for the answer, which is given to `onReply`. False if there is
    /// none.
    bool call(Index index,
              char const* interface,
              char const* member,
              Arguments const& arguments,
              std::function<void(sd_bus_message* reply)> const& onReply = {});
    /// Whether answers of the element's process are still waited for.
    bool isPatient(Index index) const { return !exchange.isOver() && !exchange.isSilent(nodes[index].peer); }
    /// The element that it reports as its parent; waits for the answer.
    std::optional<Index> parentOf(Index index);
    /// The elements with a state inside an element, found by the application; waits for the answer. `nullopt`
    /// if the application offers no such search.
    std::optional<std::vector<Index>> withState(Index index, AtspiState state);
    /// The process that an element belongs to.
    std::optional<std::int32_t> processOf(Index index) const;
    /// The element that another element of the same application refers to.
    std::optional<Index> find(Index from, atspi::Reference const& reference);

private:
    void send(Index index, AtspiQuestion question);
    void askText(Index index);
    bool isStrictAboutText(Index index) const;
    BusMessagePtr hitCall(Index index, ReportedPoint point) const;

    AtspiExchange& exchange;
    AtspiNodes& nodes;
    AtspiPeers peers;
    AtspiQuestions questions;
    AtspiActionNames actionNames;
    AtspiChildLists childLists;
};

} // namespace zelvo
