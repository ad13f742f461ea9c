#include "ZelvoGateway/mcp/transport/McpHttpExchange.h"

#include <utility>

namespace zelvo::service {

namespace {

constexpr char const* eventType = "text/event-stream";

} // namespace

McpHttpExchange::McpHttpExchange(McpExchangeParts parts, McpAnswerKinds kinds, MemoryBudget memory)
    : parts(std::move(parts)), kinds(kinds),
      messages(std::move(memory), kinds.events ? Notifications::sent : Notifications::leftOut),
      timer(this->parts.executor, this->parts.clock)
{
}

void McpHttpExchange::send(McpMessage message)
{
    if (hasGone)
        return;
    messages.put(std::move(message));
    wake();
}

void McpHttpExchange::finish()
{
    isFinished = true;
    wake();
}

void McpHttpExchange::abandon()
{
    if (std::exchange(hasGone, true))
        return;
    messages.clear();
    wake();
    letGo();
}

/// What was held may do a lot when it goes.
void McpHttpExchange::letGo()
{
    auto const gone = std::exchange(held, {});
}

void McpHttpExchange::wake()
{
    changed.notifyAll([this] { hasChanged = true; });
}

Task<> McpHttpExchange::waitForChange(Duration atMost)
{
    auto const self = shared_from_this();
    isTimeUp = false;
    changed.with([this] { hasChanged = false; });
    timer.in(atMost, [this] {
        isTimeUp = true;
        wake();
    });
    auto const isOver = [this] { return hasChanged; };
    co_await changed.wait(isOver);
    timer.cancel();
}

Task<> McpHttpExchange::settle(Duration patience)
{
    auto const self = shared_from_this();
    Instant const due = parts.clock.now() + patience;
    while (!isFinished && !hasGone && messages.isEmpty() && parts.clock.now() < due)
        co_await waitForChange(due - parts.clock.now());
}

Task<HttpResponse> McpHttpExchange::response(std::function<int(JsonRpcCode code)> statusOf)
{
    auto const self = shared_from_this();
    bool const isSingle = isFinished && messages.size() == 1 && kinds.json;
    if (!isSingle && !(isFinished && messages.isEmpty()))
        co_return kinds.events ? eventStream() : HttpResponse{.stream = self};
    HttpResponse response{.status = 202, .contentType = ""};
    if (isSingle) {
        McpOutbox::Entry only = messages.take();
        auto const error = only.message.error;
        response.status = error ? statusOf(*error) : 200;
        response.contentType = "application/json";
        response.body = co_await McpOutbox::textOf(only, parts.workers);
        response.memory = std::move(only.memory);
    }
    letGo();
    co_return response;
}

HttpResponse McpHttpExchange::eventStream()
{
    HttpResponse response{.contentType = eventType, .stream = shared_from_this()};
    response.headers.emplace_back("X-Accel-Buffering", "no"); // A proxy must not collect the events.
    return response;
}

Task<std::string> McpHttpExchange::next()
{
    auto const self = shared_from_this();
    sending.release();
    while (messages.isEmpty() && !isFinished && !hasGone) {
        co_await waitForChange(parts.keepAlive);
        if (isTimeUp && messages.isEmpty() && !isFinished && !hasGone)
            co_return kinds.events ? ": keep-alive\n\n" : " "; // White space may precede JSON.
    }
    if (hasGone || messages.isEmpty()) {
        letGo();
        co_return "";
    }
    McpOutbox::Entry first = messages.take();
    std::string text = co_await McpOutbox::textOf(first, parts.workers);
    sending = std::move(first.memory);
    co_return kinds.events ? "event: message\ndata: " + std::move(text) + "\n\n" : std::move(text);
}

} // namespace zelvo::service
