#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/mcp/McpConnection.h"
#include "ZelvoGateway/mcp/transport/McpHttpExchange.h"
#include "ZelvoGateway/mcp/transport/McpTarget.h"
#include "base/Clock.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

/// A session that a client began with a handshake over HTTP.
struct McpHttpSession {
    McpTarget target;
    std::shared_ptr<McpConnection> connection;
    std::shared_ptr<McpHttpExchange> listener = nullptr; ///< the stream that a GET opened; may be null
    std::shared_ptr<void const> presence = std::make_shared<int>(); ///< held by every answer that is awaited
    Instant used = {};

    bool isAttended() const { return presence.use_count() > 1; }
};

/// The sessions of HTTP. Each has a random id and belongs to the key and the address that began it. One ends
/// when its client says so, some time after its last request or stream, or when its key has too many.
/// Thread: the server's.
class McpHttpSessions {
public:
    McpHttpSessions(McpRules const& rules, Clock const& clock) : rules(rules), clock(clock) {}

    /// Returns the id of a new session; `nullopt` if the key has too many that are in use.
    std::optional<std::string> add(McpTarget target, std::shared_ptr<McpConnection> connection);
    /// The session of an id; null if it has ended or belongs to another key or address.
    std::shared_ptr<McpHttpSession> find(std::string_view id, McpTarget const& target);
    void end(std::string_view id);
    void forgetIdle();
    void endKey(std::string const& key);
    void endAll();
    /// Ends the streams that clients opened to listen; their sessions stay.
    void endListeners();
    std::size_t count() const { return sessions.size(); }

private:
    using Sessions = std::map<std::string, std::shared_ptr<McpHttpSession>, std::less<>>;

    bool makeRoom(std::string const& key);
    Sessions::iterator end(Sessions::iterator session);

    McpRules const& rules;
    Clock const& clock;
    Sessions sessions; // by id
};

} // namespace zelvo::service
