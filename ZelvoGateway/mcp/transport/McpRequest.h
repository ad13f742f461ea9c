#pragma once

#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/mcp/JsonRpcReader.h"
#include "ZelvoGateway/mcp/transport/McpHttpExchange.h"

#include <optional>

namespace zelvo::service {

/// The kinds of answer that a request takes, by its header "Accept".
McpAnswerKinds answerKindsOf(HttpRequest const& request);

/// Refuses a body that is no JSON, and a client that takes no answer that there is. Throws HttpError.
void assertMcpPost(HttpRequest const& request, McpAnswerKinds kinds);

/// Reads a short text here, and a long one on the workers, because it would delay everybody else. The text
/// must live until this returns.
Task<JsonRpcDocument> readJsonRpcOn(Executor workers, std::string_view text);

/// The only request of a document; null if there is another message or none.
JsonRpcRequest const* onlyRequestOf(JsonRpcDocument const& document);

/// Whether a document begins a session.
bool isHandshake(JsonRpcDocument const& document);

/// Whether a document follows the rules of versions without a handshake: a request of it says its version
/// itself, or the headers do.
bool isStateless(HttpRequest const& request, JsonRpcDocument const& document);

/// Why the headers of a request do not fit its body, or name a version that the gateway does not speak.
std::optional<JsonRpcError> headerProblemOf(HttpRequest const& request, JsonRpcDocument const& document);

/// The status of an answer that is one error.
int httpStatusOf(JsonRpcCode code, bool stateless);

} // namespace zelvo::service
