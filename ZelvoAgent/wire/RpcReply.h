#pragma once

#include "wire/AgentError.h"
#include "wire/Json.h"

#include <map>
#include <optional>
#include <string>

namespace zelvo {

/// The whole answer to a frame, ready to be serialised.
struct RpcReply {
    json::object payload;

    static RpcReply result(std::string id, json::value value);
    /// Without details the reply has no "details"; without a message it has the kind's default message.
    static RpcReply failure(std::string id,
                            AgentError error,
                            std::optional<std::map<std::string, std::string>> details = {},
                            std::optional<std::string> message = {});
};

} // namespace zelvo
