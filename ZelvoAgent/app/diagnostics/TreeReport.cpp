#include "app/diagnostics/TreeReport.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"

#include <optional>

namespace zelvo::TreeReport {

namespace {

constexpr std::size_t maxShown = 30; // Characters of a description or identifier.

std::string_view reasonKey(AgentError error)
{
    switch (error) {
    case AgentError::permissionMissing:
        return "diag.tree.error.permission";
    case AgentError::machineUnavailable:
        return "diag.tree.error.noApplication";
    case AgentError::hiddenAppActive:
        return "diag.tree.error.hidden";
    default:
        return "diag.tree.error.other";
    }
}

std::string quoted(std::string_view name, std::string const& text)
{
    return std::string(name) + "=\"" + text + '"';
}

std::string cleaned(std::optional<std::string> const& text)
{
    return text ? text::withoutControlCharacters(*text) : "";
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
    if (std::string const title = cleaned(element.title); !title.empty())
        parts.push_back(quoted("title", title));
    if (std::string const description = cleaned(element.elementDescription); !description.empty())
        parts.push_back(quoted("desc", text::prefix(description, maxShown)));
    if (std::string const identifier = cleaned(element.identifier); !identifier.empty())
        parts.push_back(quoted("id", text::prefix(identifier, maxShown)));
    std::vector<std::string> actions;
    for (std::string const& action : element.actions)
        if (std::string const name = cleaned(action); !name.empty())
            actions.push_back(name);
    if (!actions.empty())
        parts.push_back("actions=" + joined(actions, ","));
    if (parts.empty())
        parts.push_back(localized("diag.tree.shouldBeFiltered"));
    return cleaned(element.role) + ' ' + joined(parts, " ");
}

std::string ofFailure(AgentError error)
{
    return localized("diag.tree.failed", {localized(reasonKey(error))});
}

std::string of(UiTreeSnapshot const& snapshot, Facts facts)
{
    std::string const name = snapshot.app ? cleaned(snapshot.app->name) : localized("common.unknown");
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
