#pragma once

#include "desktop/applications/Applications.h"
#include "end_to_end/EndToEnd.h"
#include "wire/Json.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace zelvo::test {

/// Reads windows through the built programs.
class Reading : public EndToEnd {
protected:
    json::object tree(std::string const& connection, json::object params = {})
    {
        auto const answer = gateway.command(connection, "ui.tree", std::move(params));
        if (answer.status != 200)
            throw std::runtime_error("no tree: " + writeJson(answer.body));
        return answer.body.at("result").as_object();
    }
    std::string lines(std::string const& connection)
    {
        return std::string(tree(connection).at("compact").as_string());
    }
    /// The element with a role and a title; null if there is none.
    static json::object const* findIf(json::object const& tree, std::string_view role, std::string_view title)
    {
        for (json::value const& each : tree.at("elements").as_array()) {
            json::object const& element = each.as_object();
            if (read::text(element, "role") == role && read::text(element, "title").value_or("") == title)
                return &element;
        }
        return nullptr;
    }
    /// The same, but the element must exist.
    static json::object const& find(json::object const& tree, std::string_view role, std::string_view title)
    {
        if (json::object const* const found = findIf(tree, role, title))
            return *found;
        throw std::runtime_error("no " + std::string(title) + " in " + writeJson(tree));
    }
    /// A tree with that element. Applications publish their elements some time after their windows appear.
    json::object treeWith(std::string const& connection, std::string_view role, std::string_view title)
    {
        json::object seen;
        waitFor([&] { return findIf(seen = tree(connection), role, title) != nullptr; });
        return seen;
    }
    static std::string centerOf(json::object const& element)
    {
        json::object const& frame = element.at("frame").as_object();
        auto const number = [&](char const* key) { return *read::number(frame, key); };
        return R"({"type":"click","x":)" + std::to_string(number("x") + number("w") / 2) + R"(,"y":)" +
               std::to_string(number("y") + number("h") / 2) + "}";
    }
};

} // namespace zelvo::test
