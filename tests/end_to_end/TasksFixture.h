#pragma once

#include "end_to_end/EndToEnd.h"
#include "end_to_end/HttpCall.h"
#include "end_to_end/TaskScript.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zelvo::test {

/// Tasks over HTTP, again and again, on a desktop where nobody is asked.
class Tasks : public EndToEnd, protected TaskScript {
protected:
    static constexpr int rounds = 20;

    void SetUp() override { connection = startUnattended(); }

    /// Calls a tool, and disconnects after this time.
    void callAndVanish(std::string const& tool, json::object arguments, long seconds)
    {
        if (post(tool, requestFor(tool, std::move(arguments)), seconds).status != 0)
            throw std::runtime_error("answered within " + std::to_string(seconds) + " s");
    }
    /// Does a task again and again; the first failure ends the test, with what was said in its round.
    void repeat(std::function<void(int round)> const& task)
    {
        for (int round = 1; round <= rounds; ++round) {
            transcript.clear();
            ASSERT_NO_THROW(task(round)) << "in round " << round << ":\n" << transcript;
            ASSERT_FALSE(HasFailure()) << "in round " << round << ":\n" << transcript;
        }
    }

    std::string connection;

private:
    json::object ask(std::string const& tool, json::object const& request) override
    {
        constexpr long seconds = 40;
        return messageIn(post(tool, request, seconds).body);
    }
    HttpAnswer post(std::string const& tool, json::object const& request, long seconds) const
    {
        std::string const url = "http://127.0.0.1:" + std::to_string(gateway.port()) + "/mcp/" + connection;
        return httpCall("POST", url,
                        {gateway.authorization(), "Content-Type: application/json",
                         "Accept: application/json, text/event-stream", "MCP-Protocol-Version: 2026-07-28",
                         "Mcp-Method: tools/call", "Mcp-Name: " + tool},
                        writeJson(request), seconds);
    }
    /// The last message of an answer: its body, or the last event of its stream.
    static json::object messageIn(std::string_view body)
    {
        std::string_view message = body;
        for (std::string_view line : linesOf(body))
            if (line.starts_with("data: {"))
                message = line.substr(6);
        if (message.ends_with('\r'))
            message.remove_suffix(1);
        auto const value = parseJson(message);
        if (!value || !value->is_object())
            throw std::runtime_error("no message: " + std::string(body.substr(0, 2000)));
        return value->as_object();
    }
};

} // namespace zelvo::test
