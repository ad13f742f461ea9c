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
    /// The text "data" of the params of "files.upload.begin" if it is long. It is then missing in `params`.
    std::string data = {};
    bool operator==(RpcFrame const&) const = default;
};

/// Reads a text message. Nothing when it is no JSON object with a text "id" and a text "method": such a
/// message is dropped without an answer.
std::optional<RpcFrame> parseFrame(std::string_view text);
/// The same for a large message: the content of a file stays in the text's own memory.
std::optional<RpcFrame> takeFrame(std::string text);
/// The text message that a frame is read back from.
std::string writeFrame(RpcFrame const& frame);

} // namespace zelvo
