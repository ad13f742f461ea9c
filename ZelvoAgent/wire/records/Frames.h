#pragma once

#include "wire/records/RecordCodec.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The records of the wire: the request and reply envelopes, and the names of the methods.
namespace zelvo::records {

enum class RPCMethod {
    hello,
    heartbeat,
    displayInfo,
    permissionsGet,
    screenshot,
    actionsPerform,
    cursorPosition,
    uiTree,
    shellRun,
    clipboardGet,
    clipboardSet,
    appsOpen,
    appsActivate,
    appsList,
    windowsList,
    urlsOpen,
    filesUploadBegin,
    filesUploadChunk,
    filesUploadEnd,
    filesDownload,
    queueOffer,
    connectionGrant,
    connectionRevoke,
    connectionsNames,
    agentsUpdate,
    systemReboot,
    vncOpen,
    vncClose
};

} // namespace zelvo::records

namespace zelvo {

template <>
struct EnumTexts<records::RPCMethod> {
    static constexpr std::array<std::string_view, 28> texts = {"hello",
                                                               "heartbeat",
                                                               "display.info",
                                                               "permissions.get",
                                                               "screenshot",
                                                               "actions.perform",
                                                               "cursor.position",
                                                               "ui.tree",
                                                               "shell.run",
                                                               "clipboard.get",
                                                               "clipboard.set",
                                                               "apps.open",
                                                               "apps.activate",
                                                               "apps.list",
                                                               "windows.list",
                                                               "urls.open",
                                                               "files.upload.begin",
                                                               "files.upload.chunk",
                                                               "files.upload.end",
                                                               "files.download",
                                                               "queue.offer",
                                                               "connection.grant",
                                                               "connection.revoke",
                                                               "connections.names",
                                                               "agents.update",
                                                               "system.reboot",
                                                               "vnc.open",
                                                               "vnc.close"};
};

} // namespace zelvo

namespace zelvo::records {

struct Agent {
    std::string name;
    std::string ref;
    bool operator==(Agent const&) const = default;
};
BOOST_DESCRIBE_STRUCT(Agent, (), (name, ref))

struct RPCRequest {
    std::optional<Agent> agent;
    std::optional<std::string> connectionId;
    std::string id;
    RPCMethod method{};
    std::optional<json::value> params;
    bool operator==(RPCRequest const&) const = default;
};
BOOST_DESCRIBE_STRUCT(RPCRequest, (), (agent, connectionId, id, method, params))

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
