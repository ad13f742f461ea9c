#include "app/diagnostics/TreeReport.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"

#include <optional>

namespace zelvo::TreeReport {

namespace {

constexpr std::size_t maxShown = 30; // Characters of a description or identifier.

std::string quoted(std::string_view name, std::string const& text)
{
    return std::string(name) + "=\"" + text + '"';
}

bool isFilled(std::optional<std::string> const& text)
{
    return text && !text->empty();
}

std::string joined(std::vector<std::string> const& parts, std::string_view between)
{
    std::string all;
    for (std::string const& part : parts)
        all += (all.empty() ? "" : std::string(between)) + part;
    return all;
}

} // namespace

std::string lineOf(UiElementInfo const& element)
{
    std::vector<std::string> parts;
    if (isFilled(element.title))
        parts.push_back(quoted("title", *element.title));
    if (isFilled(element.elementDescription))
        parts.push_back(quoted("desc", text::prefix(*element.elementDescription, maxShown)));
    if (isFilled(element.identifier))
        parts.push_back(quoted("id", text::prefix(*element.identifier, maxShown)));
    if (!element.actions.empty())
        parts.push_back("actions=" + joined(element.actions, ","));
    if (parts.empty())
        parts.push_back(localized("diag.tree.shouldBeFiltered"));
    return element.role + ' ' + joined(parts, " ");
}

std::string of(UiTreeSnapshot const& snapshot, Facts facts)
{
    std::string const name = snapshot.app ? snapshot.app->name : localized("common.unknown");
    std::string const kind =
        localized(facts.isExpanded ? "diag.tree.report.expanded" : "diag.tree.report.native");
    std::string const mode =
        localized(facts.interactiveOnly ? "diag.tree.report.interactive" : "diag.tree.report.full");
    std::string count =
        localized("diag.tree.report.count", {static_cast<std::int64_t>(snapshot.elements.size())});
    if (snapshot.truncated)
        count += localized("diag.tree.report.truncated");
    std::vector<std::string> lines = {localized("diag.tree.report.app", {name}),
                                      localized("diag.tree.report.chromium", {kind}),
                                      localized("diag.tree.report.mode", {mode}),
                                      std::move(count),
                                      localized("diag.tree.report.time", {facts.milliseconds}),
                                      localized("diag.tree.report.why")};
    for (UiElementInfo const& element : snapshot.elements)
        lines.push_back(lineOf(element));
    return joined(lines, "\n");
}

} // namespace zelvo::TreeReport
