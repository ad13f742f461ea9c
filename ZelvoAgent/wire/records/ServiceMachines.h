#pragma once

#include "wire/ErrorCode.h"
#include "wire/records/Connections.h"
#include "wire/records/Heartbeat.h"
#include "wire/records/RecordCodec.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The records of the wire: machines and connections as the service shows them, and its errors.
namespace zelvo::records {

enum class ReportedAvailability { asleep, noGUISession, ready, screenLocked, unknown };
enum class ConnectionStatus { active, revoked };
enum class WhenUnavailable { fail, queue };

} // namespace zelvo::records

namespace zelvo {

template <>
struct EnumTexts<records::ReportedAvailability> {
    static constexpr std::array<std::string_view, 5> texts = {"asleep", "no_gui_session", "ready",
                                                              "screen_locked", "unknown"};
};
template <>
struct EnumTexts<records::ConnectionStatus> {
    static constexpr std::array<std::string_view, 2> texts = {"active", "revoked"};
};
template <>
struct EnumTexts<records::WhenUnavailable> {
    static constexpr std::array<std::string_view, 2> texts = {"fail", "queue"};
};

} // namespace zelvo

namespace zelvo::records {

using DisplayClass = DisplayInfo;
using MachineStatusPermissions = Permissions;

struct APIErrorError {
    ErrorCode code{};
    std::optional<json::object> details;
    std::string message;
    std::string requestId;
    bool operator==(APIErrorError const&) const = default;
};
BOOST_DESCRIBE_STRUCT(APIErrorError, (), (code, details, message, requestId))

struct APIError {
    APIErrorError error;
    bool operator==(APIError const&) const = default;
};
BOOST_DESCRIBE_STRUCT(APIError, (), (error))

struct MachineStatus {
    std::optional<std::string> appVersion;
    ReportedAvailability availability{};
    std::optional<DisplayClass> display;
    std::int64_t hiddenAppCount{};
    std::optional<std::string> lastSeenAt;
    std::optional<std::string> macosVersion;
    bool online{};
    MachineOS os{};
    bool paused{};
    MachineStatusPermissions permissions;
    bool operator==(MachineStatus const&) const = default;
};
BOOST_DESCRIBE_STRUCT(MachineStatus,
                      (),
                      (appVersion,
                       availability,
                       display,
                       hiddenAppCount,
                       lastSeenAt,
                       macosVersion,
                       online,
                       os,
                       paused,
                       permissions))
using Machine = MachineStatus;

struct Connection {
    std::string createdAt;
    std::string endUserId;
    std::optional<bool> grantedOnMac;
    std::string id;
    MachineKind kind{};
    Machine machine;
    std::string machineId;
    std::optional<std::string> revokedAt;
    std::vector<Scope> scopes;
    ConnectionStatus status{};
    bool operator==(Connection const&) const = default;
};
BOOST_DESCRIBE_STRUCT(
    Connection,
    (),
    (createdAt, endUserId, grantedOnMac, id, kind, machine, machineId, revokedAt, scopes, status))

struct DeliveryOptions {
    std::optional<std::int64_t> confirmationTimeoutMs;
    std::optional<std::int64_t> ttlSeconds;
    std::optional<WhenUnavailable> whenUnavailable;
    bool operator==(DeliveryOptions const&) const = default;
};
BOOST_DESCRIBE_STRUCT(DeliveryOptions, (), (confirmationTimeoutMs, ttlSeconds, whenUnavailable))

} // namespace zelvo::records
