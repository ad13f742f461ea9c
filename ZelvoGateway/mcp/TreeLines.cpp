#include "ZelvoGateway/mcp/TreeLines.h"

#include <map>
#include <string_view>

namespace zelvo::service {

namespace {

/// In quotes, with those inside escaped, so that a name cannot pass for the rest of a line.
std::string quoted(std::string const& text)
{
    return writeJson(json::value(text));
}

std::string bracketed(std::string const& reference)
{
    return "[" + reference + "]";
}

std::string placeOf(SeenFrame const& frame)
{
    return (frame.isRelative ? " (in window " : " (") + std::to_string(frame.x) + "," +
           std::to_string(frame.y) + " " + std::to_string(frame.w) + "x" + std::to_string(frame.h) + ")";
}

/// What has changed of an element that is still there; empty if nothing has.
std::string changesOf(SeenElement const& before, SeenElement const& after)
{
    std::string changes;
    if (before.value != after.value)
        changes += " value=" + quoted(after.value);
    if (before.frame != after.frame)
        changes += placeOf(after.frame);
    if (before.isEnabled != after.isEnabled)
        changes += after.isEnabled ? " enabled" : " disabled";
    if (before.isFocused != after.isFocused)
        changes += after.isFocused ? " focused" : " unfocused";
    return changes;
}

/// Lines up to a limit, and the number of those that it left out.
class BoundedLines {
public:
    explicit BoundedLines(std::size_t maxLines) : maxLines(maxLines) {}

    void add(std::string line)
    {
        if (lines.size() < maxLines)
            lines.push_back(std::move(line));
        else
            ++leftOut;
    }

    std::vector<std::string> take(std::string_view what)
    {
        if (leftOut > 0)
            lines.push_back("… " + std::to_string(leftOut) + " more " + std::string(what));
        return std::move(lines);
    }

private:
    std::size_t maxLines;
    std::vector<std::string> lines;
    std::size_t leftOut = 0;
};

using Elements = std::map<std::string_view, SeenElement const*>;

Elements byReference(std::vector<ReferencedElement> const& tree)
{
    Elements elements;
    for (ReferencedElement const& element : tree)
        elements.emplace(element.reference, &element.element);
    return elements;
}

/// "- [b3] [b4]"; empty if nothing was removed.
std::string
removedLine(std::vector<ReferencedElement> const& before, Elements const& after, std::size_t maxShown)
{
    std::string line;
    std::size_t removed = 0;
    for (ReferencedElement const& element : before)
        if (!after.contains(element.reference) && ++removed <= maxShown)
            line += " " + bracketed(element.reference);
    if (removed > maxShown)
        line += " … " + std::to_string(removed - maxShown) + " more";
    return line.empty() ? line : "-" + line;
}

} // namespace

std::string elementLine(ReferencedElement const& referenced)
{
    SeenElement const& element = referenced.element;
    std::string line = referenced.reference.empty() ? "" : bracketed(referenced.reference) + " ";
    line += element.role;
    if (!element.name.empty())
        line += " " + quoted(element.name);
    if (!element.value.empty())
        line += " value=" + quoted(element.value);
    line += placeOf(element.frame);
    if (!element.isEnabled)
        line += " disabled";
    if (element.isFocused)
        line += " focused";
    return line;
}

std::vector<std::string> treeLines(std::vector<ReferencedElement> const& tree, std::size_t maxLines)
{
    BoundedLines lines(maxLines);
    for (ReferencedElement const& element : tree)
        lines.add(elementLine(element));
    return lines.take("elements");
}

std::vector<std::string> changeLines(std::vector<ReferencedElement> const& before,
                                     std::vector<ReferencedElement> const& after,
                                     std::size_t maxLines)
{
    Elements const old = byReference(before);
    BoundedLines changes(maxLines);
    std::size_t unchanged = 0;
    for (ReferencedElement const& element : after) {
        auto const found = old.find(element.reference);
        if (found == old.end()) {
            changes.add("+ " + elementLine(element));
        } else if (std::string const what = changesOf(*found->second, element.element); !what.empty()) {
            changes.add("~ " + bracketed(element.reference) + what);
        } else {
            ++unchanged;
        }
    }
    std::vector<std::string> lines = changes.take("changes");
    if (std::string removed = removedLine(before, byReference(after), maxLines); !removed.empty())
        lines.push_back(std::move(removed));
    lines.push_back("= " + std::to_string(unchanged) + " unchanged");
    return lines;
}

} // namespace zelvo::service
