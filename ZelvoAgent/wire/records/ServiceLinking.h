#pragma once

#include "wire/records/Connections.h"
#include "wire/records/RecordCodec.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The records of the wire: end users and link sessions of the service.
namespace zelvo::records {

struct CreateEndUserRequest {
    std::optional<std::string> email;
    std::string externalId;
    std::optional<std::string> name;
    bool operator==(CreateEndUserRequest const&) const = default;
};
BOOST_DESCRIBE_STRUCT(CreateEndUserRequest, (), (email, externalId, name))

struct EndUser {
    std::string createdAt;
    std::optional<std::string> email;
    std::string externalId;
    std::string id;
    std::optional<std::string> name;
    bool operator==(EndUser const&) const = default;
};
BOOST_DESCRIBE_STRUCT(EndUser, (), (createdAt, email, externalId, id, name))

struct CreateLinkSessionRequest {
    std::string endUserId;
    std::optional<std::string> redirectUrl;
    std::vector<Scope> scopes;
    bool operator==(CreateLinkSessionRequest const&) const = default;
};
BOOST_DESCRIBE_STRUCT(CreateLinkSessionRequest, (), (endUserId, redirectUrl, scopes))

struct LinkSession {
    std::string code;
    std::string expiresAt;
    std::string id;
    std::string url;
    bool operator==(LinkSession const&) const = default;
};
BOOST_DESCRIBE_STRUCT(LinkSession, (), (code, expiresAt, id, url))

} // namespace zelvo::records
