#include "router/ShellHandlers.h"

#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "base/Text.h"
#include "state/ActivityWording.h"
#include "wire/AgentError.h"
#include "wire/records/SystemCommands.h"

namespace zelvo {

namespace {

constexpr std::int64_t defaultTimeoutMs = 60'000;
constexpr std::size_t maxLoggedCommandLength = 300; // Characters.

/// Nothing unless each value is a text.
std::optional<std::map<std::string, std::string>> environmentFrom(json::object const& params)
{
    json::object const* const entries = read::object(params, "env");
    if (!entries)
        return std::nullopt;
    std::map<std::string, std::string> environment;
    for (json::key_value_pair const& entry : *entries) {
        if (!entry.value().is_string())
            return std::nullopt;
        environment.emplace(entry.key(), std::string_view(entry.value().get_string()));
    }
    return environment;
}

json::value shellResult(ShellRunResult result)
{
    records::ShellResult record{.durationMs = result.durationMs,
                                .exitCode = result.exitCode,
                                .stderr = std::move(result.standardError),
                                .stdout = std::move(result.standardOutput),
                                .timedOut = result.timedOut,
                                .truncated = result.truncated};
    return records::toJson(std::move(record));
}

} // namespace

Task<json::value> ShellHandlers::run(Admission admission)
{
    json::object const& params = admission.frame.params;
    auto const command = read::text(params, "command");
    if (!command)
        throw AgentError::invalidRequest;
    ConfirmationSubject const subject{ConfirmationSubject::ShellCommand{*command}};
    co_await services.confirmations.ask(subject, admission.asker, Confirmations::timeoutMs(params));
    std::int64_t const timeoutMs = read::integer(params, "timeoutMs").value_or(defaultTimeoutMs);
    ShellRunResult const result =
        co_await services.shell.run(*command, read::text(params, "cwd"), timeoutMs, environmentFrom(params));
    if (admission.connection)
        co_await on(services.main,
                    [&] { log(*admission.connection, admission.loggedAgentName(), *command, result); });
    co_return shellResult(std::move(result));
}

void ShellHandlers::log(GrantedConnection const& connection,
                        std::optional<std::string> agentName,
                        std::string const& command,
                        ShellRunResult const& result)
{
    AgentState::LogLine line{.platform = connection.platformName,
                             .summary = localized("activity.terminal.ran")};
    line.kind = ActivityKind::terminal;
    line.connectionId = connection.id;
    line.note = ActivityWording::terminalNote(result.exitCode, result.durationMs, result.timedOut);
    line.detail = text::prefix(command, maxLoggedCommandLength);
    line.agentName = std::move(agentName);
    services.state.log(std::move(line));
}

} // namespace zelvo
