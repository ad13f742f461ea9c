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

/// Asks for the children of elements: all at once, or one by one where a long list would keep the application
/// busy for seconds. Children of other processes are listed where AtspiPeers allows it. Thread: one.
class AtspiChildLists {
public:
    using Index = AtspiNode::Index;

    static constexpr std::int32_t manyChildren = 2'000;
    static constexpr std::int32_t manyToListAtOnce = 1'500;
    static constexpr std::int32_t firstOfMany = 500;

    /// Both must outlive it.
    AtspiChildLists(AtspiQuestions& questions, AtspiPeers& peers) : questions(questions), peers(peers) {}

    /// Role and states must be answered.
    void ask(Index index);
    /// Has the list come, and the bus is still asked whose children they are?
    bool waitsForProcesses(Index index) const { return waiting.contains(index); }
    void startAnew() { waiting.clear(); }
    /// Does a reference lead into another process than the element's?
    bool isForeign(Index index, atspi::Reference const& reference) const;

private:
    /// A list of children that is being put together, one by one.
    struct Listing {
        std::vector<std::optional<atspi::Reference>> references;
        std::int32_t next = 0;
        std::int32_t inFlight = 0;
        bool isCut = false;                                  ///< nothing more will come
        std::optional<AtspiExchange::SteadyTime> until = {}; ///< then no more is asked for
    };

    void askCount(Index index);
    void askAll(Index index);
    void askOneByOne(Index index, std::int32_t count);
    /// Half of what is left of the time, so that something of what is listed can be read.
    std::optional<AtspiExchange::SteadyTime> endOfListing() const;
    void continueListing(Index index, std::shared_ptr<Listing> const& listing);
    void askChildAt(Index index, std::shared_ptr<Listing> const& listing, std::int32_t at);
    void take(Index index, std::vector<atspi::Reference> references);
    void finish(Index index, std::vector<atspi::Reference> const& references);
    /// False while the bus is being asked whose children they are.
    bool identify(Index index, std::vector<atspi::Reference> const& references);

    AtspiQuestions& questions;
    AtspiPeers& peers;
    std::map<Index, std::vector<atspi::Reference>> waiting; // for their processes
};

} // namespace zelvo
