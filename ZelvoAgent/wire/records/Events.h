#pragma once

#include "wire/records/RecordCodec.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The records of the wire: what the agent tells without being asked.
namespace zelvo::records {

enum class MachineEventType {
    agentPause,
    agentResume,
    availabilityChanged,
    connectionRevoked,
    paused,
    permissionsChanged,
    queuedCommandsACK,
    recordingReady,
    resumed
};

} // namespace zelvo::records

namespace zelvo {

template <>
struct EnumTexts<records::MachineEventType> {
    static constexpr std::array<std::string_view, 9> texts = {
        "agent_pause",         "agent_resume",    "availability_changed",
        "connection_revoked",  "paused",          "permissions_changed",
        "queued_commands_ack", "recording_ready", "resumed"};
};

} // namespace zelvo

namespace zelvo::records {

struct MachineEvent {
    std::optional<std::string> connectionId;
    std::optional<json::object> data;
    MachineEventType event{};
    bool operator==(MachineEvent const&) const = default;
};
BOOST_DESCRIBE_STRUCT(MachineEvent, (), (connectionId, data, event))

} // namespace zelvo::records
