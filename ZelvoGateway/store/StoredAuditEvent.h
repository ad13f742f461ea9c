#pragma once

#include "wire/Json.h"
#include "wire/records/ServiceHistory.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// Something that somebody did, without any content of it.
struct StoredAuditEvent {
    std::string id;        ///< ids of later events are greater
    std::string createdAt; ///< ISO 8601
    std::string type;
    records::Actor actor{};
    std::optional<records::AuditEventAPIKey> key = {}; ///< that the platform used, as it was called then
    std::optional<std::string> connectionId = {};
    std::optional<std::string> machineId = {};
    std::optional<std::string> endUserId = {}; ///< whose connection or link it is; decides who may see it
    json::object details = {};
};

} // namespace zelvo::service
