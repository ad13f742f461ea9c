#pragma once

#include "wire/AgentScope.h"
#include "wire/records/RecordCodec.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The records of the wire: queued commands, connections and live agents, as the gateway tells them.
namespace zelvo::records {

enum class CommandStatus { canceled, completed, expired, failed, queued, running };

} // namespace zelvo::records

namespace zelvo {

template <>
struct EnumTexts<records::CommandStatus> {
    static constexpr std::array<std::string_view, 6> texts = {"canceled", "completed", "expired",
                                                              "failed",   "queued",    "running"};
};

} // namespace zelvo

namespace zelvo::records {

using Scope = AgentScope;

struct QueuedCommand {
    std::string commandId;
    std::optional<json::value> error;
    std::string expiresAt;
    std::optional<json::value> result;
    CommandStatus status{};
    bool operator==(QueuedCommand const&) const = default;
};
BOOST_DESCRIBE_STRUCT(QueuedCommand, (), (commandId, error, expiresAt, result, status))

struct ConnectionElement {
    std::string connectionId;
    std::string platformName;
    bool operator==(ConnectionElement const&) const = default;
};
BOOST_DESCRIBE_STRUCT(ConnectionElement, (), (connectionId, platformName))

struct ConnectionNames {
    std::vector<ConnectionElement> connections;
    bool operator==(ConnectionNames const&) const = default;
};
BOOST_DESCRIBE_STRUCT(ConnectionNames, (), (connections))

struct HolderClass {
    std::optional<std::string> connectionId;
    std::string name;
    std::string ref;
    std::string since;
    std::optional<std::string> task;
    bool operator==(HolderClass const&) const = default;
};
BOOST_DESCRIBE_STRUCT(HolderClass, (), (connectionId, name, ref, since, task))

struct AgentsUpdate {
    std::optional<HolderClass> holder;
    std::vector<HolderClass> paused;
    std::vector<HolderClass> waiting;
    bool operator==(AgentsUpdate const&) const = default;
};
BOOST_DESCRIBE_STRUCT(AgentsUpdate, (), (holder, paused, waiting))

} // namespace zelvo::records
