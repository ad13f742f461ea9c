#pragma once

#include "platform/linux/atspi/AtspiExchange.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace zelvo {

/// The processes whose elements were met, by their names on the bus, and which of them may be read. Thread:
/// one.
class AtspiPeers {
public:
    using PeerId = AtspiExchange::PeerId;
    static constexpr std::size_t maxPeers = 64;

    /// exchange, bus  must outlive it; bus is the link to the accessibility bus
    /// daemon         answers for the bus itself
    AtspiPeers(AtspiExchange& exchange, AtspiLink& bus, PeerId daemon);

    /// May elements of another process be read?
    std::function<bool(std::int32_t pid)> allowsProcess;

    PeerId busDaemon() const { return daemon; }
    /// The process that is being read.
    void addApplication(PeerId peer, std::int32_t pid);
    /// Forgets which other processes may be read, and asks again for those that have not answered.
    void startAnew();

    std::optional<std::int32_t> processOf(PeerId peer) const;
    /// Asks the bus for the process of a name, once; `onKnown` runs when it has answered. A name beyond
    /// maxPeers is not asked for.
    void identify(std::string const& name, std::function<void()> onKnown);
    /// False while a name's process is being asked for.
    bool isSettled(std::string const& name) const;
    /// The peer of a name; `nullopt` if its elements may not be read.
    std::optional<PeerId> readablePeer(std::string const& name);

private:
    struct PeerProcess {
        PeerId peer = 0;
        std::optional<std::int32_t> pid;
        bool isApplication = false; ///< the one that is being read
        bool isAsked = false;
        bool isKnown = false; ///< pid was asked for and answered, or not
        std::optional<bool> isAllowed;
    };

    bool isNew(std::string const& name) const;
    PeerProcess& processNamed(std::string const& name);

    AtspiExchange& exchange;
    AtspiLink& bus;
    PeerId daemon;
    std::int32_t ownPid = 0;
    std::map<std::string, PeerProcess> processes; // by bus name
};

} // namespace zelvo
