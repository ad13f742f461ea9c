#include "router/ShellHandlers.h"

#include "base/Hop.h"
#include "base/LocalizedTexts.h"
#include "base/Text.h"
#include "confirm/ShellEnvironment.h"
#include "state/ActivityWording.h"
#include "wire/AgentError.h"
#include "wire/records/SystemCommands.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

constexpr std::int64_t defaultTimeoutMs = 60'000;
constexpr std::size_t maxLoggedCommandLength = 300; // Characters.
constexpr std::size_t maxLoggedEnvironmentBytes = 16UL * 1024;
constexpr std::size_t maxLoggedNameBytes = 64UL * 1024;
constexpr std::size_t minLoggedVariable = 200; // Bytes.

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

/// The longest line that is logged whole, so that all of them together fit if they can.
std::size_t wholeLineLimit(std::vector<std::string> const& lines)
{
    std::size_t limit = maxLoggedEnvironmentBytes;
    auto const total = [&] {
        return std::accumulate(
            lines.begin(), lines.end(), std::size_t{0},
            [&](std::size_t sum, auto const& each) { return sum + std::min(each.size(), limit); });
    };
    while (limit > minLoggedVariable && total() > maxLoggedEnvironmentBytes)
        limit = std::max(limit / 2, minLoggedVariable);
    return limit;
}

/// The beginning of a line, and its length.
std::string cutLine(std::string const& line, std::size_t bytes)
{
    return std::string(text::prefixOfBytes(line, bytes)) + "… (" + std::to_string(line.size()) + " bytes)";
}

/// As it is, but for what is beyond `maxLoggedEnvironmentBytes`: the log must not grow without end. Variables
/// that change what runs come first. Long values are cut first, then all that do not fit; every name stays,
/// up to `maxLoggedNameBytes` of them.
std::vector<std::string> loggedEnvironment(std::map<std::string, std::string> const& environment)
{
    ShellEnvironment::Lines found = ShellEnvironment::lines(environment);
    std::vector<std::string> all = std::move(found.risky);
    std::ranges::move(found.others, std::back_inserter(all));
    std::size_t const whole = wholeLineLimit(all);
    std::vector<std::string> logged;
    std::size_t left = maxLoggedEnvironmentBytes;
    std::size_t leftForNames = maxLoggedNameBytes;
    for (std::string const& line : all) {
        std::size_t const name = line.find('=') + 1;
        if (name > leftForNames) {
            logged.push_back("… (" + std::to_string(all.size()) + " variables)");
            break;
        }
        leftForNames -= name;
        std::size_t const wanted = line.size() <= whole ? line.size() : minLoggedVariable;
        std::size_t const kept = std::max(name, wanted <= left ? wanted : 0);
        left -= wanted <= left ? wanted : 0;
        logged.push_back(kept < line.size() ? cutLine(line, kept) : line);
    }
    return logged;
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
    auto const cwd = read::text(params, "cwd");
    auto const env = environmentFrom(params);
    ConfirmationSubject::ShellCommand const asked{*command, cwd,
                                                  env.value_or(std::map<std::string, std::string>{})};
    ConfirmationSubject const subject{asked};
    co_await services.confirmations.ask(subject, admission.asker, Confirmations::timeoutMs(params));
    std::int64_t const timeoutMs = read::integer(params, "timeoutMs").value_or(defaultTimeoutMs);
    ShellRunResult result = co_await services.shell.run(*command, cwd, timeoutMs, env);
    if (admission.connection)
        co_await on(services.main,
                    [&] { log(*admission.connection, admission.loggedAgentName(), asked, result); });
    co_return shellResult(std::move(result));
}

void ShellHandlers::log(GrantedConnection const& connection,
                        std::optional<std::string> agentName,
                        ConfirmationSubject::ShellCommand const& command,
                        ShellRunResult const& result)
{
    AgentState::LogLine line{.platform = connection.platformName,
                             .summary = localized("activity.terminal.ran")};
    line.kind = ActivityKind::terminal;
    line.connectionId = connection.id;
    line.note = ActivityWording::terminalNote(result.exitCode, result.durationMs, result.timedOut);
    line.detail = text::prefix(command.command, maxLoggedCommandLength);
    line.cwd = command.cwd;
    line.env = loggedEnvironment(command.env);
    line.agentName = std::move(agentName);
    services.state.log(std::move(line));
}

} // namespace zelvo
