#pragma once

#include "platform/linux/atspi/AtspiNodes.h"
#include "platform/linux/atspi/AtspiToolkit.h"
#include "platform/linux/atspi/WindowFit.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Asks applications about elements and keeps the answers; each question once. Children of other processes
/// are followed where that is allowed. Thread: one.
class AtspiInquiry {
public:
    using Index = AtspiNode::Index;
    using PeerId = AtspiExchange::PeerId;

    static constexpr std::int32_t manyChildren = 2'000;
    static constexpr std::int32_t manyToListAtOnce = 1'500;
    static constexpr std::int32_t firstOfMany = 500;
    static constexpr std::size_t maxSides = 64;
    static constexpr std::size_t maxText = 8u << 20; ///< bytes, of all elements together

    /// Both must outlive it. bus: the link to the accessibility bus
    AtspiInquiry(AtspiExchange& exchange, AtspiNodes& nodes, AtspiLink& bus, PeerId daemon);

    /// Told of each answer, also of a missing one.
    std::function<void(Index, AtspiQuestion)> onAnswered = [](Index, AtspiQuestion) {};
    /// May elements of another process be read?
    std::function<bool(std::int32_t pid)> allowsProcess;

    void addApplication(PeerId peer, std::int32_t pid, AtspiToolkit toolkit);
    AtspiToolkit toolkitOf(PeerId peer) const;
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
    /// A process whose elements were met.
    struct PeerProcess {
        PeerId peer = 0;
        std::optional<std::int32_t> pid;
        bool isAsked = false;
        bool isKnown = false; ///< pid was asked for and answered, or not
        std::optional<bool> isAllowed;
    };
    /// A list of children that is being put together, one by one.
    struct Listing {
        std::vector<std::optional<atspi::Reference>> references;
        std::int32_t next = 0;
        std::int32_t inFlight = 0;
        bool isCut = false;                                  ///< nothing more will come
        std::optional<AtspiExchange::SteadyTime> until = {}; ///< then no more is asked for
    };

    /// Names of actions that are being asked for.
    struct Naming {
        std::vector<std::string> names;
        std::size_t missing = 0;
    };

    BusMessagePtr hitCall(Index index, ReportedPoint point) const;
    BusMessagePtr newCall(Index index, char const* interface, char const* member) const;
    /// Is it one of the calls that a silent application was asked ahead, which can be asked again?
    bool isPutOff(Index index, AtspiQuestion question) const;
    BusMessagePtr messageFor(AtspiNode const& node, AtspiQuestion question) const;
    void send(Index index, AtspiQuestion question);
    void askChildren(Index index);
    void askAllChildren(Index index);
    /// There is no answer: for now when it is put off, else for good.
    void leave(Index index, AtspiQuestion question);
    void askChildCount(Index index);
    void askOneByOne(Index index, std::int32_t count);
    /// Half of what is left of the time, so that something of what is listed can be read.
    std::optional<AtspiExchange::SteadyTime> endOfListing() const;
    void continueListing(Index index, std::shared_ptr<Listing> const& listing);
    void askChildAt(Index index, std::shared_ptr<Listing> const& listing, std::int32_t at);
    /// Lets go of an element's texts when they are too much. before: how much of them there was
    void boundText(AtspiNode& node, std::size_t before);
    bool isStrictAboutText(Index index) const;
    void askText(Index index);
    void askActions(Index index);
    void takeActions(Index index, std::vector<atspi::Action> actions);
    void askActionName(Index index,
                       std::shared_ptr<Naming> const& naming,
                       std::size_t at,
                       atspi::Action const& action);
    void finishActions(Index index, std::vector<std::string> const& names);
    void takeChildren(Index index, std::vector<atspi::Reference> references);
    void finishChildren(Index index, std::vector<atspi::Reference> const& references);
    PeerProcess& peerOf(std::string const& name);
    bool isForeign(Index index, atspi::Reference const& reference) const;
    /// False while it is being asked who a process is.
    bool identify(Index index, std::vector<atspi::Reference> const& references);
    bool isNewSide(std::string const& name) const;
    bool allows(PeerProcess& side) const;

    AtspiExchange& exchange;
    AtspiNodes& nodes;
    AtspiLink& bus;
    PeerId daemon;
    std::int32_t ownPid = 0;
    std::size_t textKept = 0; ///< bytes
    std::optional<std::pair<Index, AtspiQuestion>> awaited;
    std::map<std::string, PeerProcess> peers; // by bus name
    std::map<PeerId, AtspiToolkit> toolkits;
    std::map<Index, std::vector<atspi::Reference>> waiting; // for who a process is
    std::map<std::pair<PeerId, atspi::Action>, std::string> actionNames;
};

} // namespace zelvo
