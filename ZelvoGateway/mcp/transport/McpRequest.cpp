#include "ZelvoGateway/mcp/transport/McpRequest.h"

#include "ZelvoGateway/http/HttpError.h"
#include "ZelvoGateway/mcp/McpClient.h"
#include "ZelvoGateway/mcp/McpHeaders.h"
#include "ZelvoGateway/mcp/McpResults.h"
#include "base/Hop.h"
#include "base/Text.h"

#include <algorithm>

namespace zelvo::service {

namespace {

constexpr std::string_view jsonType = "application/json";
constexpr std::string_view eventType = "text/event-stream";
constexpr std::size_t longText = 64_KiB;

JsonRpcNotification const* onlyNotificationOf(JsonRpcDocument const& document)
{
    if (document.isBatch || document.messages.size() != 1)
        return nullptr;
    return std::get_if<JsonRpcNotification>(&document.messages.front());
}

/// "application/json" of " application/JSON; charset=utf-8".
std::string mediaType(std::string_view text)
{
    text = text.substr(0, text.find(';'));
    std::size_t const first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return "";
    std::size_t const last = text.find_last_not_of(" \t");
    return text::lowercased(std::string(text.substr(first, last - first + 1)));
}

std::optional<std::string> headerOf(HttpRequest const& request, std::string const& name)
{
    auto const found = request.headers.find(name);
    return found == request.headers.end() ? std::nullopt : std::optional(found->second);
}

/// Whoever routes by a header that is given twice may read the other one.
std::optional<JsonRpcError> repeatedHeaderOf(HttpRequest const& request)
{
    for (std::string const name : {"mcp-protocol-version", "mcp-method", "mcp-name"})
        if (request.headers.count(name) > 1)
            return JsonRpcError{.code = JsonRpcCode::headerMismatch,
                                .message = "Header mismatch: \"" + name + "\" is given more than once"};
    return std::nullopt;
}

std::optional<std::string> versionHeaderOf(HttpRequest const& request)
{
    return headerOf(request, "mcp-protocol-version");
}

} // namespace

McpAnswerKinds answerKindsOf(HttpRequest const& request)
{
    McpAnswerKinds kinds;
    auto const [begin, end] = request.headers.equal_range("accept");
    kinds.json = begin == end;
    for (auto header = begin; header != end; ++header) {
        std::string_view rest = header->second;
        while (!rest.empty()) {
            std::size_t const comma = std::min(rest.find(','), rest.size());
            std::string const type = mediaType(rest.substr(0, comma));
            kinds.json |= type == jsonType || type == "application/*" || type == "*/*";
            kinds.events |= type == eventType; // Not by "*/*": who takes anything expects one document.
            rest.remove_prefix(std::min(comma + 1, rest.size()));
        }
    }
    return kinds;
}

void assertMcpPost(HttpRequest const& request, McpAnswerKinds kinds)
{
    if (mediaType(request.header("content-type")) != jsonType)
        throw HttpError{.status = 415,
                        .code = ErrorCode::invalidRequest,
                        .message = R"(The "Content-Type" must be "application/json")"};
    if (!kinds.json && !kinds.events)
        throw HttpError{.status = 406,
                        .code = ErrorCode::invalidRequest,
                        .message = R"("Accept" must allow "application/json" or "text/event-stream")"};
}

Task<JsonRpcDocument> readJsonRpcOn(Executor workers, std::string_view text)
{
    if (text.size() <= longText)
        co_return readJsonRpc(text);
    auto const read = [text] { return readJsonRpc(text); };
    co_return co_await on(workers, read);
}

JsonRpcRequest const* onlyRequestOf(JsonRpcDocument const& document)
{
    if (document.isBatch || document.messages.size() != 1)
        return nullptr;
    return std::get_if<JsonRpcRequest>(&document.messages.front());
}

bool isHandshake(JsonRpcDocument const& document)
{
    JsonRpcRequest const* const request = onlyRequestOf(document);
    return request && request->method == "initialize" && !saysItsVersion(*request);
}

bool isStateless(HttpRequest const& request, JsonRpcDocument const& document)
{
    JsonRpcRequest const* const only = onlyRequestOf(document);
    if (only && saysItsVersion(*only))
        return true;
    auto const header = versionHeaderOf(request);
    auto const version = header ? fromRawValue<McpVersion>(*header) : std::nullopt;
    return version && !isLegacy(*version);
}

std::optional<JsonRpcError> headerProblemOf(HttpRequest const& request, JsonRpcDocument const& document)
{
    if (auto problem = repeatedHeaderOf(request))
        return problem;
    McpHeaders const headers{.version = versionHeaderOf(request),
                             .method = headerOf(request, "mcp-method"),
                             .name = headerOf(request, "mcp-name")};
    JsonRpcRequest const* const only = onlyRequestOf(document);
    if (only)
        if (auto problem = headerProblem(headers, *only))
            return problem;
    if (JsonRpcNotification const* const notification = onlyNotificationOf(document))
        if (auto problem = headerProblem(headers, *notification))
            return problem;
    bool const isSaidTwice = only && saysItsVersion(*only); // The body decides.
    if (!isSaidTwice && headers.version && !fromRawValue<McpVersion>(*headers.version))
        return unsupportedVersion(*headers.version);
    return std::nullopt;
}

int httpStatusOf(JsonRpcCode code, bool stateless)
{
    switch (code) {
    case JsonRpcCode::parseError:
    case JsonRpcCode::invalidRequest:
    case JsonRpcCode::headerMismatch:
    case JsonRpcCode::missingCapability:
    case JsonRpcCode::unsupportedVersion:
        return 400;
    case JsonRpcCode::methodNotFound:
        return stateless ? 404 : 200;
    case JsonRpcCode::invalidParams:
        return stateless ? 400 : 200;
    case JsonRpcCode::internalError:
        return 200;
    }
    return 200;
}

} // namespace zelvo::service
