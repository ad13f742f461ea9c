#pragma once

#include "platform/linux/applications/ProcessFacts.h"

#include <cstdint>
#include <functional>
#include <map>
#include <utility>

namespace zelvo {

/// What the system knows of processes, each read once. Thread: one.
class KnownProcesses {
public:
    using Read = std::function<ProcessFacts(std::int32_t)>;

    explicit KnownProcesses(Read read = readProcessFacts) : read(std::move(read)) {}

    ProcessFacts const& of(std::int32_t pid) const
    {
        auto const found = facts.find(pid);
        return found != facts.end() ? found->second : facts.emplace(pid, read(pid)).first->second;
    }

private:
    Read read;
    mutable std::map<std::int32_t, ProcessFacts> facts;
};

} // namespace zelvo
