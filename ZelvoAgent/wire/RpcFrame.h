#pragma once

#include "wire/Json.h"

#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// A command as it came from the gateway. Nothing is looked up yet: the connection may not exist, and the
/// agent's name is only ever shown.
struct RpcFrame {
    std::string id;
    std::string method;
    std::optional<std::string> connectionId;
    json::object params;
    std::optional<std::string> agentName;
    bool operator==(RpcFrame const&) const = default;
};

/// Reads a text message. Nothing when it is no JSON object with a text "id" and a text "method": such a
/// message is dropped without an answer.
std::optional<RpcFrame> parseFrame(std::string_view text);
/// The text message that a frame is read back from.
std::string writeFrame(RpcFrame const& frame);

} // namespace zelvo
