#pragma once

#include "wire/records/RecordCodec.h"

#include <optional>
#include <string>

/// The records of the wire: the envelope of a reply.
namespace zelvo::records {

struct RPCResponseError {
    std::string code;
    std::optional<json::object> details;
    std::string message;
    bool operator==(RPCResponseError const&) const = default;
};
BOOST_DESCRIBE_STRUCT(RPCResponseError, (), (code, details, message))

struct RPCResponse {
    std::optional<RPCResponseError> error;
    std::string id;
    std::optional<json::value> result;
    bool operator==(RPCResponse const&) const = default;
};
BOOST_DESCRIBE_STRUCT(RPCResponse, (), (error, id, result))

} // namespace zelvo::records
