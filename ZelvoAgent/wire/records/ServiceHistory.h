#pragma once

#include "wire/records/RecordCodec.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The records of the wire: recordings, the audit log and webhooks of the service.
namespace zelvo::records {

enum class RecordingStatus { deleted, processing, ready };
enum class Actor { admin, app, endUser, platform, system };
enum class WebhookEventType {
    cloudMACEnded,
    cloudMACExpiring,
    cloudMACReady,
    commandCompleted,
    commandExpired,
    commandFailed,
    connectionCreated,
    connectionRevoked,
    machineOffline,
    machineOnline,
    machinePaused,
    machinePermissionsChanged,
    machineResumed,
    recordingReady
};

} // namespace zelvo::records

namespace zelvo {

template <>
struct EnumTexts<records::RecordingStatus> {
    static constexpr std::array<std::string_view, 3> texts = {"deleted", "processing", "ready"};
};
template <>
struct EnumTexts<records::Actor> {
    static constexpr std::array<std::string_view, 5> texts = {"admin", "app", "end_user", "platform",
                                                              "system"};
};
template <>
struct EnumTexts<records::WebhookEventType> {
    static constexpr std::array<std::string_view, 14> texts = {
        "cloud_mac.ended", "cloud_mac.expiring", "cloud_mac.ready",    "command.completed",
        "command.expired", "command.failed",     "connection.created", "connection.revoked",
        "machine.offline", "machine.online",     "machine.paused",     "machine.permissions_changed",
        "machine.resumed", "recording.ready"};
};

} // namespace zelvo

namespace zelvo::records {

struct Recording {
    std::string createdAt;
    std::string deletesAt;
    double durationSEC{};
    std::optional<std::string> expiresAt;
    std::string id;
    RecordingStatus status{};
    std::string target;
    std::optional<std::string> url;
    bool operator==(Recording const&) const = default;
};
BOOST_DESCRIBE_STRUCT(Recording, (), (createdAt, deletesAt, durationSEC, expiresAt, id, status, target, url))

struct AuditEventAPIKey {
    std::string id;
    std::string name;
    std::string apiKeyPrefix;
    bool operator==(AuditEventAPIKey const&) const = default;
};
BOOST_DESCRIBE_STRUCT(AuditEventAPIKey, (), (id, name, apiKeyPrefix))

struct AuditEvent {
    Actor actor{};
    std::optional<AuditEventAPIKey> apiKey;
    std::string at;
    std::optional<std::string> connectionId;
    json::object details;
    std::string id;
    std::optional<std::string> machineId;
    std::string type;
    bool operator==(AuditEvent const&) const = default;
};
BOOST_DESCRIBE_STRUCT(AuditEvent, (), (actor, apiKey, at, connectionId, details, id, machineId, type))
using DatumElement = AuditEvent;

struct AuditEventList {
    std::vector<DatumElement> data;
    std::optional<std::string> nextBefore;
    bool operator==(AuditEventList const&) const = default;
};
BOOST_DESCRIBE_STRUCT(AuditEventList, (), (data, nextBefore))

struct WebhookEvent {
    std::string createdAt;
    json::object data;
    std::string id;
    WebhookEventType type{};
    bool operator==(WebhookEvent const&) const = default;
};
BOOST_DESCRIBE_STRUCT(WebhookEvent, (), (createdAt, data, id, type))

} // namespace zelvo::records
