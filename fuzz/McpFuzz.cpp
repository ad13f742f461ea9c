#include "ZelvoGateway/mcp/DesktopTools.h"
#include "ZelvoGateway/mcp/McpSession.h"
#include "base/Text.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <utility>

namespace {

using namespace zelvo;
using namespace zelvo::service;

/// Checks what a session puts out over its whole life.
class Witness {
public:
    void see(McpOutput const& output)
    {
        if (output.exchange != 0 && !isOpen.emplace(output.exchange, true).second)
            std::abort(); // Numbers are not used twice.
        for (McpMessage const& message : output.messages)
            see(message);
        for (McpExchangeNumber const exchange : output.finished)
            if (!std::exchange(isOpen.at(exchange), false))
                std::abort(); // An exchange ends once.
    }

    bool sawAllEnd() const
    {
        return std::ranges::none_of(isOpen, [](auto const& exchange) { return exchange.second; });
    }

private:
    void see(McpMessage const& message) const
    {
        if (!isOpen.at(message.exchange))
            std::abort();
        std::string const text = writeJson(message.body);
        if (!text::isUtf8(text) || !parseJson(text))
            std::abort();
        if (message.error && (!message.body.is_object() || !message.body.get_object().contains("error")))
            std::abort();
    }

    std::map<McpExchangeNumber, bool> isOpen;
};

McpServer const& server()
{
    static McpServer const desktop{.name = "zelvo",
                                   .title = "Zelvo",
                                   .version = "1",
                                   .instructions = desktopInstructions(),
                                   .tools = desktopTools({.hasComputerTool = true})};
    return desktop;
}

} // namespace

/// Each line is what a client sends at once; every second call is answered before the next line.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view rest(reinterpret_cast<char const*>(data), size);
    McpSession session(server());
    Witness witness;
    while (!rest.empty()) {
        std::string_view const line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        McpOutput const output = session.receive(readJsonRpc(line));
        witness.see(output);
        for (McpCall const& call : output.calls) {
            witness.see(session.progress(call.number, 1, "runs"));
            if (call.number % 2 == 0)
                witness.see(session.complete(call.number, McpToolResult{.content = {{.text = "done"}}}));
        }
        if (session.openCalls() > McpSession::maxCalls)
            std::abort();
    }
    witness.see(session.end());
    if (!witness.sawAllEnd())
        std::abort();
    return 0;
}
