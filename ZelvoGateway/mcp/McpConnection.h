#pragma once

#include "ZelvoGateway/mcp/McpSession.h"
#include "ZelvoGateway/mcp/ToolRunner.h"

#include <map>
#include <memory>

namespace zelvo::service {

/// Where the messages of one exchange go. Thread: the server's.
class McpReplies {
public:
    virtual ~McpReplies() = default;
    virtual void send(McpMessage message) = 0;
    /// Nothing more is sent.
    virtual void finish() = 0;
};

/// A session and the tasks that carry out its calls, without any I/O: documents come in, and what answers
/// them goes to the replies of their exchange.
/// Thread: that of its executor.
class McpConnection : public std::enable_shared_from_this<McpConnection> {
public:
    McpConnection(std::shared_ptr<McpServer const> server,
                  std::shared_ptr<ToolRunner> runner,
                  Executor executor)
        : server(std::move(server)), runner(std::move(runner)), executor(std::move(executor)),
          session(*this->server)
    {
    }

    /// replies   get what answers the document, some of it perhaps before this returns
    McpExchangeNumber receive(JsonRpcDocument document, std::shared_ptr<McpReplies> replies);
    /// Nobody waits for the replies of an exchange: cancels its calls.
    void abandon(McpExchangeNumber exchange);
    /// Cancels every call and finishes every exchange. Later documents are not answered.
    void end();

    std::optional<McpVersion> handshakeVersion() const { return session.handshakeVersion(); }
    std::size_t openCalls() const { return tasks.size(); }
    std::size_t openExchanges() const { return open.size(); }

private:
    void carryOut(McpOutput output);
    void cancel(McpCallNumber call);
    void begin(McpCall call);
    Task<> run(McpCall call);
    Task<McpOutcome> outcomeOf(McpCall call);
    ToolRunner::Report reportOf(McpCallNumber call);

    std::shared_ptr<McpServer const> server;
    std::shared_ptr<ToolRunner> runner;
    Executor executor;
    McpSession session;
    std::map<McpExchangeNumber, std::shared_ptr<McpReplies>> open;
    std::map<McpCallNumber, TaskHandle> tasks;
};

} // namespace zelvo::service
