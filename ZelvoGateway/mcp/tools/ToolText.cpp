#include "ZelvoGateway/mcp/tools/ToolText.h"

#include "ZelvoGateway/mcp/ToolFailure.h"
#include "base/Text.h"

#include <algorithm>
#include <utility>

namespace zelvo::service::tooltext {

namespace {

constexpr std::size_t maxName = 80;       // characters
constexpr std::size_t maxNameBytes = 400; // A character may be of any length.
constexpr std::size_t maxHeading = 4'000; // of cost
constexpr std::size_t maxEnding = 200;    // of what follows the lines
constexpr char escape = '\x1b';

bool isAscii(char c)
{
    return static_cast<unsigned char>(c) < 0x80;
}

/// Not the first byte of a code point.
bool continues(char c)
{
    return (static_cast<unsigned char>(c) & 0xc0U) == 0x80;
}

std::size_t costOf(char c)
{
    if (isAscii(c))
        return 1;
    return continues(c) ? 0 : 2;
}

/// Where the escape sequence that begins here ends.
std::size_t endOfSequence(std::string_view text, std::size_t start)
{
    std::size_t at = start + 1;
    if (at >= text.size())
        return at;
    if (text[at] == '[') { // Parameters, then a final byte.
        ++at;
        while (at < text.size() && text[at] >= 0x20 && text[at] < 0x40)
            ++at;
        return std::min(at + 1, text.size());
    }
    if (text[at] == ']') { // A text for the terminal, up to BEL or ESC backslash.
        auto const end = text.find_first_of("\x07\x1b", at);
        if (end == std::string_view::npos)
            return text.size();
        return text[end] == escape ? std::min(end + 2, text.size()) : end + 1;
    }
    return at + 1;
}

std::string withoutSequences(std::string_view text)
{
    std::string kept;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t const found = std::min(text.find(escape, start), text.size());
        kept.append(text.substr(start, found - start));
        start = found < text.size() ? endOfSequence(text, found) : found;
    }
    return kept;
}

std::string counted(std::size_t count, std::string_view what)
{
    return std::to_string(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

std::size_t codePointsIn(std::string_view text)
{
    return static_cast<std::size_t>(std::ranges::count_if(text, [](char c) { return !continues(c); }));
}

} // namespace

std::size_t costOf(std::string_view text)
{
    std::size_t cost = 0;
    for (char const c : text)
        cost += costOf(c);
    return cost;
}

std::string_view prefixOfCost(std::string_view text, std::size_t cost)
{
    std::size_t end = 0;
    for (std::size_t spent = 0; end < text.size(); ++end) {
        spent += costOf(text[end]);
        if (spent > cost)
            break;
    }
    return text.substr(0, end);
}

std::string_view suffixOfCost(std::string_view text, std::size_t cost)
{
    std::size_t start = text.size();
    std::size_t spent = 0;
    for (std::size_t at = text.size(); at > 0; --at) {
        spent += costOf(text[at - 1]);
        if (spent > cost)
            break;
        if (!continues(text[at - 1]))
            start = at - 1;
    }
    return text.substr(start);
}

std::string plainLines(std::string_view foreign)
{
    std::string const text = withoutSequences(foreign);
    std::string plain;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t const end = std::min(text.find_first_of("\n\t", start), text.size());
        plain += text::withoutControlCharacters(std::string_view(text).substr(start, end - start));
        if (end < text.size())
            plain += text[end];
        start = end + 1;
    }
    return plain;
}

std::string headAndTail(std::string_view text, std::size_t cost)
{
    if (costOf(text) <= cost)
        return plainLines(text);
    std::string_view const head = prefixOfCost(text, cost / 2);
    std::string_view const tail = suffixOfCost(text.substr(head.size()), cost / 2);
    std::size_t const left = codePointsIn(text.substr(head.size(), text.size() - head.size() - tail.size()));
    return plainLines(head) + "\n… " + counted(left, "character") + " left out …\n" + plainLines(tail);
}

std::string shownName(std::string_view name)
{
    return text::shownInLine(text::prefixOfBytes(name, maxNameBytes), maxName);
}

void Answer::first(std::string_view line)
{
    heading = prefixOfCost(line, maxHeading);
    cost += tooltext::costOf(heading);
}

void Answer::add(std::string line)
{
    std::size_t const more = tooltext::costOf(line) + 1;
    if (leftOut > 0 || cost + more > limit - maxEnding) {
        ++leftOut;
        return;
    }
    cost += more;
    lines.push_back(std::move(line));
}

void Answer::add(std::vector<std::string> more)
{
    for (std::string& line : more)
        add(std::move(line));
}

std::string Answer::text() const
{
    std::string text = heading;
    auto const append = [&](std::string_view line) {
        if (!text.empty())
            text += '\n';
        text += line;
    };
    for (std::string const& line : lines)
        append(line);
    if (leftOut > 0)
        append("… " + counted(leftOut, "more line") + " left out: the answer is too long");
    if (hasData)
        append(dataLine);
    return text;
}

} // namespace zelvo::service::tooltext
