#include "ZelvoGateway/mcp/SeenElement.h"

#include "base/Text.h"

#include <cmath>

namespace zelvo::service {

namespace {

constexpr std::size_t maxElements = 1'500; // what machines send at most
constexpr std::size_t maxBytes = 4096;     // that are looked at; a text of megabytes is not worth the time
constexpr std::size_t maxText = 200;       // characters
constexpr std::size_t maxRole = 40;        // characters
constexpr double maxCoordinate = 1'000'000'000;

std::string lineOf(json::object const& element, std::string_view key, std::size_t maxCharacters = maxText)
{
    json::value const* const found = element.if_contains(key);
    if (!found || !found->is_string())
        return "";
    return text::shownInLine(text::prefixOfBytes(found->get_string(), maxBytes), maxCharacters);
}

/// "AXPopUpButton" becomes "popupbutton".
std::string roleOf(json::object const& element)
{
    std::string role = lineOf(element, "role", maxRole);
    if (role.starts_with("AX"))
        role.erase(0, 2);
    return text::lowercased(role);
}

std::int64_t coordinate(json::object const& frame, std::string_view key)
{
    double const number = read::number(frame, key).value_or(0);
    return std::abs(number) <= maxCoordinate ? std::llround(number) : 0;
}

SeenElement elementOf(json::object const& object)
{
    SeenElement element{.id = lineOf(object, "id"),
                        .role = roleOf(object),
                        .name = lineOf(object, "title"),
                        .identifier = lineOf(object, "identifier"),
                        .value = lineOf(object, "value"),
                        .isEnabled = read::boolean(object, "enabled").value_or(true),
                        .isFocused = read::boolean(object, "focused").value_or(false)};
    if (element.name.empty())
        element.name = lineOf(object, "description");
    if (json::object const* const frame = read::object(object, "frame"))
        element.frame = {.x = coordinate(*frame, "x"),
                         .y = coordinate(*frame, "y"),
                         .w = coordinate(*frame, "w"),
                         .h = coordinate(*frame, "h")};
    return element;
}

} // namespace

std::vector<SeenElement> seenElements(json::object const& tree)
{
    std::vector<SeenElement> elements;
    json::array const* const list = read::array(tree, "elements");
    if (!list)
        return elements;
    for (json::value const& item : *list)
        if (json::object const* const object = item.if_object(); object && elements.size() < maxElements)
            elements.push_back(elementOf(*object));
    return elements;
}

} // namespace zelvo::service
