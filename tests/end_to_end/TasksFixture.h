#pragma once

#include "end_to_end/EndToEnd.h"
#include "end_to_end/HttpCall.h"
#include "wire/Json.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zelvo::test {

/// Tasks as a model does them: calls of tools over the Model Context Protocol, each after reading the answer
/// to the last one, without a sleep or a second look.
class Tasks : public EndToEnd {
protected:
    static constexpr int rounds = 20;

    /// What a tool answered.
    struct Told {
        std::string text;
        bool isError = false;
        int pictures = 0;
    };

    void SetUp() override { connection = startUnattended(); }

    /// Calls a tool. Throws if the answer is not one of the protocol.
    Told call(std::string const& tool, json::object arguments)
    {
        json::object const meta{
            {"io.modelcontextprotocol/protocolVersion", "2026-07-28"},
            {"io.modelcontextprotocol/clientCapabilities", json::object()},
            {"io.modelcontextprotocol/clientInfo", {{"name", "tasks"}, {"version", "1"}}}};
        json::object const request{
            {"jsonrpc", "2.0"},
            {"id", ++lastRequest},
            {"method", "tools/call"},
            {"params", {{"name", tool}, {"arguments", std::move(arguments)}, {"_meta", meta}}}};
        std::string const url = "http://127.0.0.1:" + std::to_string(gateway.port()) + "/mcp/" + connection;
        HttpAnswer const answer =
            httpCall("POST", url,
                     {gateway.authorization(), "Content-Type: application/json",
                      "Accept: application/json, text/event-stream", "MCP-Protocol-Version: 2026-07-28",
                      "Mcp-Method: tools/call", "Mcp-Name: " + tool},
                     writeJson(request));
        last = toldIn(answer);
        transcript += "> " + tool + " " + writeJson(request.at("params").at("arguments")) + "\n" + last.text;
        return last;
    }
    /// The same, but the call must succeed.
    Told done(std::string const& tool, json::object arguments)
    {
        Told told = call(tool, std::move(arguments));
        if (told.isError)
            throw std::runtime_error(tool + ": " + told.text);
        return told;
    }
    Told act(json::array actions) { return done("desktop_act", {{"actions", std::move(actions)}}); }

    /// The reference of the first line of the last answer with this role and name.
    std::string ref(std::string const& role, std::string const& name) const
    {
        std::string const wanted = role + " \"" + name + "\"";
        for (std::string_view line : linesOf(last.text)) {
            std::size_t const open = line.find('[');
            std::size_t const close = line.find("] ");
            if (open == line.npos || close == line.npos || line.starts_with("- "))
                continue;
            if (line.substr(close + 2).starts_with(wanted))
                return std::string(line.substr(open + 1, close - open - 1));
        }
        throw std::runtime_error("no " + wanted);
    }

    static json::object click(std::string const& reference)
    {
        return {{"type", "click"}, {"ref", reference}};
    }
    static json::object type(std::string_view text) { return {{"type", "type"}, {"text", text}}; }
    static json::object key(std::initializer_list<char const*> keys)
    {
        return {{"type", "key"}, {"keys", json::array(keys.begin(), keys.end())}};
    }

    static std::string contentOf(std::filesystem::path const& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
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
    Told last;
    std::string transcript; ///< calls and answers of the round

private:
    static std::vector<std::string_view> linesOf(std::string_view text)
    {
        std::vector<std::string_view> lines;
        while (!text.empty()) {
            lines.push_back(text.substr(0, text.find('\n')));
            text.remove_prefix(std::min(text.size(), lines.back().size() + 1));
        }
        return lines;
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
    static Told toldIn(HttpAnswer const& answer)
    {
        json::object const message = messageIn(answer.body);
        if (!message.contains("result"))
            throw std::runtime_error(std::to_string(answer.status) + " " + writeJson(message));
        json::object const& result = message.at("result").as_object();
        Told told;
        if (json::value const* const isError = result.if_contains("isError"))
            told.isError = isError->as_bool();
        for (json::value const& part : result.at("content").as_array()) {
            if (part.at("type") == "text")
                told.text += std::string(part.at("text").as_string()) + "\n";
            else
                ++told.pictures;
        }
        return told;
    }

    int lastRequest = 0;
};

} // namespace zelvo::test
