#include "ZelvoGateway/mcp/McpSession.h"

#include "ZelvoGateway/mcp/ArgumentCheck.h"
#include "ZelvoGateway/mcp/McpResults.h"
#include "ZelvoGateway/mcp/ToolFailure.h"
#include "base/Text.h"

#include <algorithm>
#include <utility>

namespace zelvo::service {

namespace {

constexpr std::size_t maxShownName = 60; // characters

JsonRpcError invalidRequest(std::string message)
{
    return {.code = JsonRpcCode::invalidRequest, .message = std::move(message)};
}

JsonRpcError invalidParams(std::string message)
{
    return {.code = JsonRpcCode::invalidParams, .message = std::move(message)};
}

/// Moves the arguments of a call out of its request; null counts as missing.
json::object takeArguments(JsonRpcRequest& request)
{
    json::value* const arguments = request.params.if_contains("arguments");
    if (!arguments || arguments->is_null())
        return {};
    if (!arguments->is_object())
        throw invalidParams(R"("arguments" must be an object)");
    return std::move(arguments->get_object());
}

} // namespace

std::optional<McpVersion> McpSession::handshakeVersion() const
{
    return client ? std::optional(client->version) : std::nullopt;
}

McpOutput McpSession::receive(JsonRpcDocument document)
{
    McpOutput output;
    if (hasEnded)
        return output;
    output.exchange = ++lastNumber;
    auto const exchange = exchanges.emplace(output.exchange, Exchange()).first;
    if (document.isBatch && !(client && takesBatches(client->version))) {
        fail(exchange, std::nullopt, invalidRequest("This version of the protocol has no batches"), output);
    } else {
        exchange->second.isBatch = document.isBatch;
        for (JsonRpcMessage& message : document.messages)
            accept(std::move(message), exchange, output);
    }
    finishIfDone(exchange, output);
    return output;
}

void McpSession::accept(JsonRpcMessage message, Exchanges::iterator exchange, McpOutput& output)
{
    if (auto* const request = std::get_if<JsonRpcRequest>(&message))
        answer(std::move(*request), exchange, output);
    else if (auto* const fault = std::get_if<JsonRpcFault>(&message))
        fail(exchange, fault->id, std::move(fault->error), output);
    else if (auto const* const notification = std::get_if<JsonRpcNotification>(&message))
        cancel(*notification, output);
}

void McpSession::answer(JsonRpcRequest request, Exchanges::iterator exchange, McpOutput& output)
{
    bool const isOpen =
        std::ranges::any_of(calls, [&](auto const& call) { return call.second.request == request.id; });
    if (isOpen) {
        // With its id the client would take the error for the answer to the request that is open.
        fail(exchange, std::nullopt, invalidRequest("The id belongs to a request that is not answered yet"),
             output);
        return;
    }
    try {
        if (auto result = resultOf(request, exchange, output))
            reply(exchange, resultMessage(request.id, *std::move(result)), std::nullopt, output);
    } catch (JsonRpcError& error) {
        fail(exchange, request.id, std::move(error), output);
    }
}

/// `nullopt` if the request began a call, which is answered later.
std::optional<json::object>
McpSession::resultOf(JsonRpcRequest& request, Exchanges::iterator exchange, McpOutput& output)
{
    if (request.method == "initialize" && !saysItsVersion(request))
        return initialize(request, exchange->second);
    if (request.method == "ping" && !saysItsVersion(request))
        return json::object();
    McpClient caller = clientOf(request, exchange->second);
    if (request.method == "tools/call")
        return beginCall(request, std::move(caller), exchange, output);
    if (request.method == "tools/list") {
        if (request.params.contains("cursor")) // The list is one page, so no cursor was ever given out.
            throw invalidParams("Unknown cursor");
        return toolListResult(server, caller.version);
    }
    if (request.method == "server/discover" && !isLegacy(caller.version))
        return discoverResult(server);
    throw JsonRpcError{.code = JsonRpcCode::methodNotFound,
                       .message = "Unknown method: " + text::shownInLine(request.method, maxShownName)};
}

json::object McpSession::initialize(JsonRpcRequest const& request, Exchange const& exchange)
{
    if (client)
        throw invalidRequest("The session is initialized already");
    if (exchange.isBatch)
        throw invalidRequest(R"("initialize" must not be in a batch)");
    client = clientOfHandshake(request);
    return initializeResult(server, client->version);
}

McpClient McpSession::clientOf(JsonRpcRequest const& request, Exchange const& exchange) const
{
    bool const isDiscovery = request.method == "server/discover" && !client;
    if (saysItsVersion(request) || isDiscovery) {
        if (exchange.isBatch)
            throw invalidRequest("This version of the protocol has no batches");
        return clientOfRequest(request);
    }
    if (!client)
        throw invalidRequest(R"(Send "initialize" first, or the protocol's version in "_meta")");
    return *client;
}

std::optional<json::object> McpSession::beginCall(JsonRpcRequest& request,
                                                  McpClient caller,
                                                  Exchanges::iterator exchange,
                                                  McpOutput& output)
{
    auto const name = read::text(request.params, "name");
    if (!name)
        throw invalidParams(R"("name" must be a text)");
    McpTool const* const tool = server.find(*name);
    if (!tool)
        throw invalidParams("Unknown tool: " + text::shownInLine(*name, maxShownName));
    json::object arguments = takeArguments(request);
    auto const refused = [&](ToolFailure const& failure) {
        return toolResult(server, caller.version, failureResult(failure));
    };
    if (auto const problem = argumentProblem(tool->inputSchema, arguments))
        return refused({.code = ErrorCode::invalidRequest, .what = *problem});
    if (calls.size() >= maxCalls)
        return refused({.code = ErrorCode::machineBusy,
                        .what = std::to_string(maxCalls) + " calls of this client are open",
                        .next = "wait until one of them has ended"});
    McpCallNumber const number = ++lastNumber;
    std::optional<JsonRpcId> const token = progressTokenOf(request);
    calls.emplace(number, OpenCall{.request = request.id,
                                   .exchange = exchange->first,
                                   .version = caller.version,
                                   .progressToken = token});
    ++exchange->second.openCalls;
    output.calls.push_back({.number = number,
                            .tool = tool->name,
                            .arguments = std::move(arguments),
                            .client = std::move(caller.name),
                            .wantsProgress = token.has_value()});
    return std::nullopt;
}

void McpSession::cancel(JsonRpcNotification const& notification, McpOutput& output)
{
    if (notification.method != "notifications/cancelled")
        return;
    auto const request = cancelledRequestOf(notification);
    auto const call = std::ranges::find_if(
        calls, [&](auto const& open) { return request && open.second.request == *request; });
    if (call == calls.end()) // It has ended meanwhile, or never was.
        return;
    // A call of the same batch is not even begun.
    if (std::erase_if(output.calls, [&](McpCall const& begun) { return begun.number == call->first; }) == 0)
        output.cancelled.push_back(call->first);
    auto const exchange = close(call);
    if (exchange->first != output.exchange) // Else the rest of the batch follows.
        finishIfDone(exchange, output);
}

McpOutput McpSession::complete(McpCallNumber number, McpOutcome outcome)
{
    McpOutput output;
    auto const call = calls.find(number);
    if (call == calls.end())
        return output;
    JsonRpcId const request = call->second.request;
    McpVersion const version = call->second.version;
    auto const exchange = close(call);
    if (auto* const result = std::get_if<McpToolResult>(&outcome))
        reply(exchange, resultMessage(request, toolResult(server, version, std::move(*result))), std::nullopt,
              output);
    else
        fail(exchange, request, std::get<JsonRpcError>(std::move(outcome)), output);
    finishIfDone(exchange, output);
    return output;
}

McpOutput McpSession::progress(McpCallNumber number, double value, std::string message)
{
    McpOutput output;
    auto const call = calls.find(number);
    if (call == calls.end() || !call->second.progressToken)
        return output;
    OpenCall& open = call->second;
    if (open.progress && value <= *open.progress)
        return output;
    open.progress = value;
    json::object params{{"progress", plainNumber(value)}, {"message", std::move(message)}};
    std::visit([&](auto const& token) { params["progressToken"] = token; }, *open.progressToken);
    output.messages.push_back({.exchange = open.exchange,
                               .body = notificationMessage("notifications/progress", std::move(params))});
    return output;
}

McpOutput McpSession::abandon(McpExchangeNumber number)
{
    McpOutput output;
    if (exchanges.erase(number) == 0)
        return output;
    std::erase_if(calls, [&](auto const& call) {
        if (call.second.exchange != number)
            return false;
        output.cancelled.push_back(call.first);
        return true;
    });
    output.finished.push_back(number);
    return output;
}

McpOutput McpSession::end()
{
    McpOutput output;
    for (auto const& [number, call] : calls)
        output.cancelled.push_back(number);
    for (auto const& [number, exchange] : exchanges)
        output.finished.push_back(number);
    calls.clear();
    exchanges.clear();
    hasEnded = true;
    return output;
}

void McpSession::reply(Exchanges::iterator exchange,
                       json::object message,
                       std::optional<JsonRpcCode> error,
                       McpOutput& output)
{
    if (exchange->second.isBatch)
        exchange->second.replies.emplace_back(std::move(message));
    else
        output.messages.push_back({.exchange = exchange->first, .body = std::move(message), .error = error});
}

void McpSession::fail(Exchanges::iterator exchange,
                      std::optional<JsonRpcId> const& request,
                      JsonRpcError error,
                      McpOutput& output)
{
    JsonRpcCode const code = error.code;
    reply(exchange, errorMessage(request, std::move(error)), code, output);
}

void McpSession::finishIfDone(Exchanges::iterator exchange, McpOutput& output)
{
    if (exchange->second.openCalls > 0)
        return;
    if (!exchange->second.replies.empty())
        output.messages.push_back({.exchange = exchange->first, .body = std::move(exchange->second.replies)});
    output.finished.push_back(exchange->first);
    exchanges.erase(exchange);
}

/// Takes a call off the list; its exchange stays.
McpSession::Exchanges::iterator McpSession::close(Calls::iterator call)
{
    auto const exchange = exchanges.find(call->second.exchange);
    --exchange->second.openCalls;
    calls.erase(call);
    return exchange;
}

} // namespace zelvo::service
