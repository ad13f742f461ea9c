#pragma once

#include "unit/state/StateFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// A machine in memory with granted connections.
class ConnectionsHarness : public StateFixture {
protected:
    void grant(std::string id, std::string name, std::vector<AgentScope> scopes = {AgentScope::record})
    {
        state.grant({.id = std::move(id),
                     .platformName = std::move(name),
                     .scopes = std::move(scopes),
                     .policy = {},
                     .shareRecordings = {}});
    }
    /// The log entries about recordings, newest first.
    std::vector<ActivityEntry> lines() const
    {
        std::vector<ActivityEntry> all;
        std::ranges::copy_if(state.activity(), std::back_inserter(all), [](ActivityEntry const& entry) {
            return entry.kind == ActivityKind::recording;
        });
        return all;
    }
};

} // namespace zelvo
