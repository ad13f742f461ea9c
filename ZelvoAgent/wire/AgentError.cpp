#include "wire/AgentError.h"

namespace zelvo {

namespace {

struct Row {
    std::string_view code;
    std::string_view message;
};

// In the order of the enumeration.
constexpr std::array<Row, agentErrorCount> rows = {{
    {"scope_denied", "The connection does not have the required permission"},
    {"machine_paused", "The agent is paused"},
    {"machine_unavailable", "The Mac is unavailable right now"},
    {"permission_missing", "A macOS permission is missing"},
    {"machine_busy", "Another control session is in progress"},
    {"hidden_app_active", "The action involves a hidden app"},
    {"denied_by_user", "The user denied the action"},
    {"confirmation_timeout", "The user did not answer in time"},
    {"snapshot_expired", "The screen tree snapshot has expired"},
    {"app_not_frontmost", "Another app is in front; the action was not performed"},
    {"zelvo_ui_protected", "Zelvo's own interface is off limits to the agent"},
    {"invalid_request", "Invalid request"},
    {"timeout", "Timed out"},
    {"internal_error", "Internal error"},
}};

} // namespace

std::string_view rawValue(AgentError error)
{
    return rows.at(static_cast<std::size_t>(error)).code;
}

std::string_view defaultMessage(AgentError error)
{
    return rows.at(static_cast<std::size_t>(error)).message;
}

std::optional<AgentError> agentErrorFrom(std::string_view rawValue)
{
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (rows[i].code == rawValue)
            return static_cast<AgentError>(i);
    return std::nullopt;
}

} // namespace zelvo
