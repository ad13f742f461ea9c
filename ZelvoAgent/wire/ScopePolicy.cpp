#include "wire/ScopePolicy.h"

#include <array>

namespace zelvo::ScopePolicy {

namespace {

struct Row {
    std::string_view method;
    AgentScope scope;
};

constexpr std::array<Row, 16> rows = {{
    {"screenshot", AgentScope::screen},
    {"ui.tree", AgentScope::screen},
    {"windows.list", AgentScope::screen},
    {"apps.list", AgentScope::screen},
    {"cursor.position", AgentScope::screen},
    {"actions.perform", AgentScope::input},
    {"apps.open", AgentScope::input},
    {"apps.activate", AgentScope::input},
    {"urls.open", AgentScope::input},
    {"shell.run", AgentScope::shell},
    {"files.upload.begin", AgentScope::files},
    {"files.upload.chunk", AgentScope::files},
    {"files.upload.end", AgentScope::files},
    {"files.download", AgentScope::files},
    {"clipboard.get", AgentScope::clipboard},
    {"clipboard.set", AgentScope::clipboard},
}};

} // namespace

std::optional<AgentScope> required(std::string_view method)
{
    for (Row const& row : rows)
        if (row.method == method)
            return row.scope;
    return std::nullopt;
}

} // namespace zelvo::ScopePolicy
