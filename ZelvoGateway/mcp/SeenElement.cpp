#include "ZelvoGateway/mcp/SeenElement.h"

#include "base/Text.h"

#include <algorithm>
#include <cmath>

namespace zelvo::service {

namespace {

constexpr std::size_t maxElements = 1'500; // what machines send at most
constexpr std::size_t maxBytes = 1'000;    // of a text that are looked at: a character may be of any length
constexpr std::size_t maxTreeBytes = 400'000; // of all texts of a tree
constexpr std::size_t maxText = 200;          // characters
constexpr std::size_t maxRole = 40;           // characters
constexpr double maxCoordinate = 1'000'000'000;

/// Reads the elements of one tree. Once their texts have used up the room, later ones are empty.
class ElementReader {
public:
    SeenElement elementOf(json::object const& object);

private:
    std::string
    lineOf(json::object const& element, std::string_view key, std::size_t maxCharacters = maxText);
    std::string roleOf(json::object const& element);

    std::size_t room = maxTreeBytes;
};

bool isPlainAscii(std::string_view text)
{
    return std::ranges::all_of(text, [](char c) { return c >= 0x20 && c < 0x7f; });
}

std::string shown(std::string_view text, std::size_t maxCharacters)
{
    // Most texts are, and this is the hot path of every look.
    if (text.size() <= maxCharacters && isPlainAscii(text))
        return std::string(text);
    return text::shownInLine(text, maxCharacters);
}

std::string shownPart(std::string_view text, std::size_t bytes, std::size_t maxCharacters)
{
    return shown(text::prefixOfBytes(text, std::min(maxBytes, bytes)), maxCharacters);
}

std::string
ElementReader::lineOf(json::object const& element, std::string_view key, std::size_t maxCharacters)
{
    json::value const* const found = element.if_contains(key);
    if (!found || !found->is_string())
        return "";
    std::string line = shownPart(found->get_string(), room, maxCharacters);
    room -= std::min(room, line.size());
    return line;
}

/// "AXPopUpButton" becomes "popupbutton".
std::string ElementReader::roleOf(json::object const& element)
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

SeenElement ElementReader::elementOf(json::object const& object)
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

std::string seenValue(std::string_view value)
{
    return shownPart(text::prefix(value, maxText), maxBytes, maxText);
}

std::vector<SeenElement> seenElements(json::object const& tree)
{
    std::vector<SeenElement> elements;
    json::array const* const list = read::array(tree, "elements");
    if (!list)
        return elements;
    ElementReader reader;
    bool const isRelative = read::text(tree, "framesRelativeTo").has_value();
    for (json::value const& item : *list)
        if (json::object const* const object = item.if_object(); object && elements.size() < maxElements)
            elements.push_back(reader.elementOf(*object));
    for (SeenElement& element : elements)
        element.frame.isRelative = isRelative;
    return elements;
}

} // namespace zelvo::service
