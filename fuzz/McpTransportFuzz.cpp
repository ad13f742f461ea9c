#include "ZelvoGateway/http/HttpError.h"
#include "ZelvoGateway/mcp/stdio/GatewayPlace.h"
#include "ZelvoGateway/mcp/stdio/LineSplitter.h"
#include "ZelvoGateway/mcp/transport/McpRequest.h"
#include "ZelvoGateway/mcp/transport/McpTarget.h"
#include "base/Text.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace zelvo;
using namespace zelvo::service;

constexpr std::size_t maxLine = 50;

std::vector<LineSplitter::Line> linesOf(std::string_view text, std::size_t piece)
{
    LineSplitter splitter(maxLine);
    std::vector<LineSplitter::Line> lines;
    for (std::size_t at = 0; at < text.size(); at += piece)
        for (LineSplitter::Line& line : splitter.add(text.substr(at, piece)))
            lines.push_back(std::move(line));
    if (auto rest = splitter.rest())
        lines.push_back(*std::move(rest));
    return lines;
}

/// Lines are the same however their bytes arrive, and none is too long.
void checkLines(std::string_view text)
{
    auto const whole = linesOf(text, text.size() + 1);
    for (std::size_t const piece : {1, 2, 7})
        if (linesOf(text, piece) != whole)
            std::abort();
    for (LineSplitter::Line const& line : whole)
        if (line.text.size() > maxLine || line.text.find('\n') != std::string::npos)
            std::abort();
}

/// The text until the next line end, which is taken off.
std::string_view takeLine(std::string_view& text)
{
    std::string_view const line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

void checkAddress(HttpRequest const& request)
{
    try {
        McpAddress const address = mcpAddressOf(request);
        if (address.width && (*address.width < McpAddress::minWidth || *address.width > McpAddress::maxWidth))
            std::abort();
    } catch (HttpError const& error) {
        if (error.status != 400 || !text::isUtf8(error.message))
            std::abort();
    }
}

/// What the headers mean together with the body.
void checkRequest(HttpRequest const& request, JsonRpcDocument const& document)
{
    McpAnswerKinds const kinds = answerKindsOf(request);
    try {
        assertMcpPost(request, kinds);
        if (!kinds.json && !kinds.events)
            std::abort();
    } catch (HttpError const& error) {
        if (error.status != 415 && error.status != 406)
            std::abort();
    }
    bool const stateless = isStateless(request, document);
    if (auto const problem = headerProblemOf(request, document))
        if (httpStatusOf(problem->code, stateless) != 400)
            std::abort();
    if (isHandshake(document) && !onlyRequestOf(document))
        std::abort();
}

} // namespace

/// The first line is the target, those until an empty one are headers, and the rest is the body.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view rest(reinterpret_cast<char const*>(data), size);
    checkLines(rest);
    if (auto const key = keyIn(std::string(rest));
        key && (key->empty() || key->find('\n') != std::string::npos))
        std::abort();
    HttpRequest request;
    if (readTarget(takeLine(rest), request))
        checkAddress(request);
    for (std::string_view line = takeLine(rest); !line.empty(); line = takeLine(rest)) {
        std::size_t const colon = std::min(line.find(':'), line.size());
        request.headers.emplace(text::lowercased(std::string(line.substr(0, colon))),
                                std::string(line.substr(std::min(colon + 1, line.size()))));
    }
    checkRequest(request, readJsonRpc(rest));
    return 0;
}
