#include "ZelvoGateway/mcp/tools/MachineChoice.h"

#include "ZelvoGateway/mcp/ToolFailure.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"
#include "base/Text.h"

#include <algorithm>

namespace zelvo::service {

namespace {

constexpr std::size_t maxChoiceBytes = 700; // A failure's first line has to have room for them.
constexpr std::size_t maxName = 1'000;      // bytes; one with a longer name is chosen by its id
constexpr std::size_t maxEntries = 500;

std::string label(ReachedMachine const& machine)
{
    return tooltext::shownName(machine.name) + " (" + machine.connection + ")";
}

std::string choicesOf(std::vector<ReachedMachine const*> const& machines)
{
    std::string list;
    std::size_t listed = 0;
    for (; listed < machines.size(); ++listed) {
        std::string const next = (listed > 0 ? ", " : "") + label(*machines[listed]);
        if (listed > 0 && list.size() + next.size() > maxChoiceBytes)
            break;
        list += next;
    }
    if (listed < machines.size())
        list += " and " + std::to_string(machines.size() - listed) + " more, see machine_list";
    return list;
}

std::vector<ReachedMachine const*> pointersTo(std::vector<ReachedMachine> const& machines)
{
    std::vector<ReachedMachine const*> all;
    for (ReachedMachine const& machine : machines)
        all.push_back(&machine);
    return all;
}

std::vector<ReachedMachine const*> named(std::vector<ReachedMachine> const& machines, std::string const& name)
{
    std::vector<ReachedMachine const*> found;
    if (name.size() > maxName)
        return found;
    for (ReachedMachine const& machine : machines)
        if (machine.connection == name)
            return {&machine};
        else if (text::equalIgnoringCase(machine.name, name))
            found.push_back(&machine);
    return found;
}

std::string_view stateOf(ReachedMachine const& machine)
{
    if (!machine.isOnline)
        return "offline";
    if (machine.isPaused)
        return "paused";
    Availability const availability = machine.availability.value_or(Availability::ready);
    return availability == Availability::ready ? "ready" : rawValue(availability);
}

json::array scopesOf(ReachedMachine const& machine)
{
    json::array scopes;
    for (AgentScope const scope : allScopes)
        if (scope != AgentScope::record &&
            (machine.isUnattended || std::ranges::find(machine.scopes, scope) != machine.scopes.end()))
            scopes.emplace_back(rawValue(scope));
    return scopes;
}

std::string joined(json::array const& texts)
{
    std::string list;
    for (json::value const& text : texts)
        list += (list.empty() ? "" : ", ") + std::string(text.get_string());
    return list.empty() ? "nothing" : list;
}

json::object recordOf(ReachedMachine const& machine)
{
    json::object record{{"machine", machine.connection},
                        {"name", tooltext::shownName(machine.name)},
                        {"os", rawValue(machine.os)},
                        {"state", stateOf(machine)},
                        {"scopes", scopesOf(machine)}};
    if (machine.display)
        record["screen"] =
            json::object{{"width", machine.display->width}, {"height", machine.display->height}};
    return record;
}

std::string lineOf(ReachedMachine const& machine)
{
    std::string line = label(machine) + ": " + std::string(stateOf(machine)) + " · " +
                       std::string(rawValue(machine.os)) + " · may use " + joined(scopesOf(machine));
    if (machine.display)
        line += " · main display " + sizeText(*machine.display);
    return line;
}

} // namespace

ReachedMachine chosenMachine(std::vector<ReachedMachine> const& machines,
                             std::optional<std::string> const& name)
{
    if (machines.empty())
        throw ToolFailure{.code = ErrorCode::notFound,
                          .what = "No computer is linked to this key",
                          .next = "ask the user to link a computer"};
    if (!name && machines.size() == 1)
        return machines.front();
    auto const found = name ? named(machines, *name) : pointersTo(machines);
    if (found.size() == 1)
        return *found.front();
    if (!name)
        throw ToolFailure{.code = ErrorCode::invalidRequest,
                          .what = R"("machine" is missing; there are )" + choicesOf(found),
                          .next = "pass machine",
                          .holdsData = true};
    if (found.empty())
        throw ToolFailure{.code = ErrorCode::notFound,
                          .what = "There is no computer " +
                                  writeJson(json::value(tooltext::shownName(*name))) + "; there are " +
                                  choicesOf(pointersTo(machines)),
                          .next = "pass one of them as machine",
                          .holdsData = true};
    throw ToolFailure{.code = ErrorCode::invalidRequest,
                      .what = "Several computers have that name: " + choicesOf(found),
                      .next = "pass the id as machine",
                      .holdsData = true};
}

McpToolResult machineList(std::vector<ReachedMachine> const& machines)
{
    tooltext::Answer answer;
    json::array records;
    for (ReachedMachine const& machine : machines) {
        answer.add(lineOf(machine));
        if (records.size() < maxEntries)
            records.emplace_back(recordOf(machine));
    }
    if (machines.empty())
        answer.add("No computer is linked to this key. Ask the user to link one.");
    else
        answer.holdsData();
    json::object structured;
    structured.emplace("machines", std::move(records));
    return {.content = {{.text = answer.text()}}, .structured = std::move(structured)};
}

} // namespace zelvo::service
