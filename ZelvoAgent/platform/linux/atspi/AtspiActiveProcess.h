#pragma once

#include "platform/linux/atspi/AtspiExchange.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// Finds the process that has the active window, by what all applications on the accessibility bus say. It
/// asks them all at once: three round trips. Blocks; a silent application is given up. Thread: one.
class AtspiActiveProcess {
public:
    /// link      to the bus, connected or connecting
    /// patience  how long an application may be silent
    AtspiActiveProcess(std::unique_ptr<AtspiLink> link, Duration patience);

    /// `nullopt` if no process says so, or several do: then one of them is wrong.
    std::optional<std::int32_t> find();

private:
    using PeerId = AtspiExchange::PeerId;
    struct Object {
        PeerId peer = 0;
        std::string path;
    };

    std::vector<Object> applications();
    std::vector<Object> windowsOf(std::vector<Object> const& applications);
    std::set<PeerId> activeAmong(std::vector<Object> const& windows);
    std::optional<std::int32_t> processOf(PeerId peer);
    /// Asks each object at once and waits for the answers.
    using OnAnswer = std::function<void(Object const&, sd_bus_message* reply)>;
    void askEach(std::vector<Object> const& objects, char const* member, OnAnswer const& onAnswer);

    AtspiExchange exchange;
    AtspiLink& bus;
};

} // namespace zelvo
