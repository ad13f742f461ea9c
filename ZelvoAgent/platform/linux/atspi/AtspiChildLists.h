#pragma once

#include "platform/linux/atspi/AtspiMessages.h"
#include "platform/linux/atspi/AtspiPeers.h"
#include "platform/linux/atspi/AtspiQuestions.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace zelvo {

/// Asks for the children of elements: all at once, or one at a time where a long list would keep the
/// application busy for seconds. Children of other processes are listed if AtspiPeers allows it. Thread: one.
class AtspiChildLists {
public:
    using Index = AtspiNode::Index;

    static constexpr std::int32_t manyChildren = 2'000;
    static constexpr std::int32_t manyToListAtOnce = 1'500;
    static constexpr std::int32_t firstOfMany = 500;

    /// Both must outlive it.
    AtspiChildLists(AtspiQuestions& questions, AtspiPeers& peers) : questions(questions), peers(peers) {}

    /// Ask only after role and states are answered.
    void ask(Index index);
    /// True while the list has arrived but the process of a child is still unknown.
    bool waitsForProcesses(Index index) const { return waiting.contains(index); }
    void startAnew() { waiting.clear(); }
    /// Whether a reference leads to another process than the element's.
    bool isForeign(Index index, atspi::Reference const& reference) const;

private:
    /// A list of children that is read one child at a time.
    struct Listing {
        std::vector<std::optional<atspi::Reference>> references;
        std::int32_t next = 0;
        std::int32_t inFlight = 0;
        bool isCut = false;                                  ///< no further child follows
        std::optional<AtspiExchange::SteadyTime> until = {}; ///< asks for no more after this
    };

    void askCount(Index index);
    void askAll(Index index);
    void askOneByOne(Index index, std::int32_t count);
    /// Half of the remaining time, so that the listed elements can still be read.
    std::optional<AtspiExchange::SteadyTime> endOfListing() const;
    void continueListing(Index index, std::shared_ptr<Listing> const& listing);
    void askChildAt(Index index, std::shared_ptr<Listing> const& listing, std::int32_t at);
    void take(Index index, std::vector<atspi::Reference> references);
    void finish(Index index, std::vector<atspi::Reference> const& references);
    /// False while the process of a child is being asked for.
    bool identify(Index index, std::vector<atspi::Reference> const& references);

    AtspiQuestions& questions;
    AtspiPeers& peers;
    std::map<Index, std::vector<atspi::Reference>> waiting; // for their processes
};

} // namespace zelvo
