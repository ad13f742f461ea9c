#pragma once

#include "platform/linux/atspi/AtspiExchange.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace zelvo {

/// The processes that own elements, by their bus names, and which of them may be read. Thread: one.
class AtspiPeers {
public:
    using PeerId = AtspiExchange::PeerId;
    static constexpr std::size_t maxPeers = 64;

    /// exchange, bus  must outlive it; bus is the link to the accessibility bus
    /// daemon         the bus daemon as a peer
    AtspiPeers(AtspiExchange& exchange, AtspiLink& bus, PeerId daemon);

    /// Whether elements of another process may be read.
    std::function<bool(std::int32_t pid)> allowsProcess;

    PeerId busDaemon() const { return daemon; }
    /// The process that is being read.
    void addApplication(PeerId peer, std::int32_t pid);
    /// Forgets which other processes may be read, and asks again for those that have not answered.
    void startAnew();

    std::optional<std::int32_t> processOf(PeerId peer) const;
    /// Asks the bus for the process of a name, once; `onKnown` runs after the answer. Names beyond maxPeers
    /// are ignored.
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
        bool isKnown = false; ///< its process id was asked for, answered or not
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
