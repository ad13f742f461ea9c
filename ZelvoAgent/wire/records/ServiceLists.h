#pragma once

#include "wire/AgentMode.h"
#include "wire/records/ServiceHistory.h"
#include "wire/records/ServiceLinking.h"
#include "wire/records/ServiceMachines.h"

#include <optional>
#include <string>
#include <vector>

/// The records of the wire: lists of the service, newest first, and what only the service shows. "nextBefore"
/// is set if there are older entries; it is the "before" of the next page.
namespace zelvo::records {

enum class LinkSessionStatus { completed, expired, open };

} // namespace zelvo::records

namespace zelvo {

template <>
struct EnumTexts<records::LinkSessionStatus> {
    static constexpr std::array<std::string_view, 3> texts = {"completed", "expired", "open"};
};

} // namespace zelvo

namespace zelvo::records {

/// A link session without its code, which only its maker learns.
struct LinkSessionState {
    std::optional<std::string> connectionId;
    std::string createdAt;
    std::string endUserId;
    std::string expiresAt;
    std::string id;
    std::optional<std::string> redirectUrl;
    std::vector<Scope> scopes;
    LinkSessionStatus status{};
    bool operator==(LinkSessionState const&) const = default;
};
BOOST_DESCRIBE_STRUCT(LinkSessionState,
                      (),
                      (connectionId, createdAt, endUserId, expiresAt, id, redirectUrl, scopes, status))

/// A machine with its id.
struct MachineEntry {
    std::string createdAt;
    std::string id;
    MachineKind kind{};
    Machine machine;
    bool operator==(MachineEntry const&) const = default;
};
BOOST_DESCRIBE_STRUCT(MachineEntry, (), (createdAt, id, kind, machine))

/// An unattended machine. This is the only record that shows its token.
struct ProvisionedMachine {
    std::string connectionId;
    std::string machineId;
    std::string machineToken;
    bool operator==(ProvisionedMachine const&) const = default;
};
BOOST_DESCRIBE_STRUCT(ProvisionedMachine, (), (connectionId, machineId, machineToken))

struct MachineList {
    std::vector<MachineEntry> data;
    std::optional<std::string> nextBefore;
    bool operator==(MachineList const&) const = default;
};
BOOST_DESCRIBE_STRUCT(MachineList, (), (data, nextBefore))

struct ConnectionList {
    std::vector<Connection> data;
    std::optional<std::string> nextBefore;
    bool operator==(ConnectionList const&) const = default;
};
BOOST_DESCRIBE_STRUCT(ConnectionList, (), (data, nextBefore))

struct EndUserList {
    std::vector<EndUser> data;
    std::optional<std::string> nextBefore;
    bool operator==(EndUserList const&) const = default;
};
BOOST_DESCRIBE_STRUCT(EndUserList, (), (data, nextBefore))

struct RecordingList {
    std::vector<Recording> data;
    std::optional<std::string> nextBefore;
    bool operator==(RecordingList const&) const = default;
};
BOOST_DESCRIBE_STRUCT(RecordingList, (), (data, nextBefore))

struct LinkSessionList {
    std::vector<LinkSessionState> data;
    std::optional<std::string> nextBefore;
    bool operator==(LinkSessionList const&) const = default;
};
BOOST_DESCRIBE_STRUCT(LinkSessionList, (), (data, nextBefore))

} // namespace zelvo::records
