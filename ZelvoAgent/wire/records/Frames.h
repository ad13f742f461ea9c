#pragma once

#include "wire/records/RecordCodec.h"

#include <optional>
#include <string>

/// The records of the wire: the envelope of a reply.
namespace zelvo::records {

struct RPCResponseError {
    std::string code;
    std::string message;
    std::optional<json::object> details;
    bool operator==(RPCResponseError const&) const = default;
};
BOOST_DESCRIBE_STRUCT(RPCResponseError, (), (code, message, details))

struct RPCResponse {
    std::string id;
    std::optional<json::value> result;
    std::optional<RPCResponseError> error;
    bool operator==(RPCResponse const&) const = default;
};
BOOST_DESCRIBE_STRUCT(RPCResponse, (), (id, result, error))

} // namespace zelvo::records
