#pragma once

#include "wire/Json.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::test {

/// Calls tools over the Model Context Protocol as a model does, each after reading the answer to the last
/// one, without a sleep or a second look.
class TaskScript {
public:
    /// What a tool answered.
    struct Told {
        std::string text;
        bool isError = false;
        int pictures = 0;
    };

    TaskScript() = default;
    TaskScript(TaskScript const&) = delete;
    TaskScript& operator=(TaskScript const&) = delete;
    virtual ~TaskScript() = default;

    /// Calls a tool. Throws if the answer is not one of the protocol.
    Told call(std::string const& tool, json::object arguments)
    {
        transcript += "> " + tool + " " + writeJson(arguments) + "\n";
        last = toldIn(ask(tool, requestFor(tool, std::move(arguments))));
        transcript += last.text;
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

    /// A mouse action in the middle of the element of the last answer with this reference.
    json::object mouse(char const* type, std::string const& reference) const
    {
        std::size_t const line = last.text.find("[" + reference + "]");
        std::smatch found;
        std::string const rest =
            line == last.text.npos ? "" : last.text.substr(line, last.text.find('\n', line) - line);
        if (!std::regex_search(rest, found, std::regex(R"(\((-?\d+),(-?\d+) (\d+)x(\d+)\))")))
            throw std::runtime_error("no place of " + reference);
        return {{"type", type},
                {"x", std::stoi(found[1]) + std::stoi(found[3]) / 2},
                {"y", std::stoi(found[2]) + std::stoi(found[4]) / 2}};
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

    /// A task: writes a text in a new window of the editor, and saves it by the editor's dialog.
    void writeText(std::string const& text, std::filesystem::path const& file)
    {
        done("app_open", {{"app", "mousepad"}});
        act({key({"ctrl", "n"})});
        act({type(text), key({"ctrl", "s"})});
        std::string const save = ref("button", "Save"); // It is disabled until there is a name.
        act({key({"ctrl", "a"}), type(file.string())});
        act({click(save)});
        act({key({"ctrl", "q"})});
    }

    Told last;
    std::string transcript; ///< calls and answers

protected:
    /// Sends a request; returns the message that answers it.
    virtual json::object ask(std::string const& tool, json::object const& request) = 0;

    json::object requestFor(std::string const& tool, json::object arguments)
    {
        json::object const meta{
            {"io.modelcontextprotocol/protocolVersion", "2026-07-28"},
            {"io.modelcontextprotocol/clientCapabilities", json::object()},
            {"io.modelcontextprotocol/clientInfo", {{"name", "tasks"}, {"version", "1"}}}};
        return {{"jsonrpc", "2.0"},
                {"id", ++lastRequest},
                {"method", "tools/call"},
                {"params", {{"name", tool}, {"arguments", std::move(arguments)}, {"_meta", meta}}}};
    }

    static std::vector<std::string_view> linesOf(std::string_view text)
    {
        std::vector<std::string_view> lines;
        while (!text.empty()) {
            lines.push_back(text.substr(0, text.find('\n')));
            text.remove_prefix(std::min(text.size(), lines.back().size() + 1));
        }
        return lines;
    }

private:
    static Told toldIn(json::object const& message)
    {
        if (!message.contains("result"))
            throw std::runtime_error(writeJson(message));
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
