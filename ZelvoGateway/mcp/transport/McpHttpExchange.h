#pragma once

#include "ZelvoGateway/http/BodyStream.h"
#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/mcp/McpConnection.h"
#include "ZelvoGateway/mcp/transport/McpOutbox.h"
#include "base/AsyncCondition.h"
#include "base/Clock.h"
#include "base/DelayedCall.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zelvo::service {

/// The kinds of answer that a client takes.
struct McpAnswerKinds {
    bool json = false;
    bool events = false; ///< "text/event-stream"
};

/// What exchanges need of the server.
struct McpExchangeParts {
    Executor executor;
    Executor workers;
    Clock& clock;
    Duration keepAlive;
};

/// The answer to one request of HTTP: plain JSON if it is there soon, else a stream of events, or, for a
/// client that takes none, JSON that arrives late. A stream always says from time to time that it lives.
/// Thread: the server's.
class McpHttpExchange final : public McpReplies,
                              public BodyStream,
                              public std::enable_shared_from_this<McpHttpExchange> {
public:
    /// memory   the key's part of the budget
    McpHttpExchange(McpExchangeParts parts, McpAnswerKinds kinds, MemoryBudget memory);

    /// Keeps something until the answer is sent or nobody waits for it any more.
    void hold(std::shared_ptr<void const> what) { held.push_back(std::move(what)); }

    void send(McpMessage message) override;
    void finish() override;

    /// Waits until the answer is complete, or has to be streamed.
    Task<> settle(Duration patience);
    /// The answer. Call once, after settle().
    /// statusOf   the status for an error that is the whole answer
    Task<HttpResponse> response(std::function<int(JsonRpcCode code)> statusOf);
    /// An answer that is nothing but a stream of events.
    HttpResponse eventStream();

    Task<std::string> next() override;
    void abandon() override;

private:
    Task<> waitForChange(Duration atMost);
    void wake();
    void letGo();

    McpExchangeParts parts;
    McpAnswerKinds kinds;
    McpOutbox messages;
    MemoryBudget::Lease sending; // Of the message whose text is being sent.
    DelayedCall timer;
    AsyncCondition changed;
    std::vector<std::shared_ptr<void const>> held;
    bool hasChanged = false; ///< since the last wait began
    bool isTimeUp = false;
    bool isFinished = false;
    bool hasGone = false;
};

} // namespace zelvo::service
