#pragma once

#include "base/Task.h"

#include <string>

namespace zelvo::service {

/// A body that is made while it is sent, such as a stream of events.
/// Thread: the server's.
/// Made by: mcp/transport/McpHttpExchange.
class BodyStream {
public:
    virtual ~BodyStream() = default;
    /// The next piece; empty at the end. Waits until there is one.
    virtual Task<std::string> next() = 0;
    /// The client has gone. A next() that waits ends; no other follows.
    virtual void abandon() = 0;
};

} // namespace zelvo::service
