#include "ZelvoGateway/control/PlatformCommand.h"

#include "ZelvoGateway/control/Arbiter.h"
#include "ZelvoGateway/control/MethodRules.h"
#include "base/Text.h"

#include <algorithm>

namespace zelvo::service {

namespace {

constexpr std::size_t maxName = 100;    // characters
constexpr std::size_t maxTask = 300;    // characters
constexpr std::size_t maxSummary = 200; // characters
constexpr char const* confirmationKey = "confirmationTimeoutMs";

/// "Run: make", or only "Run" if the params do not say what.
std::string withSubject(std::string verb, json::object const* params, std::string_view key)
{
    auto const subject = params ? read::text(*params, key) : std::nullopt;
    return subject ? verb + ": " + *subject : std::move(verb);
}

std::string actionsSummary(json::object const* params)
{
    json::array const* const actions = params ? read::array(*params, "actions") : nullptr;
    std::size_t const count = actions ? actions->size() : 0;
    return count == 1 ? "1 action" : std::to_string(count) + " actions";
}

} // namespace

void applyConfirmationTime(PlatformCommand& command)
{
    if (!command.delivery.confirmationTimeoutMs || !MethodRules::takesConfirmationTime(command.method))
        return;
    if (!command.params)
        command.params.emplace();
    (*command.params)[confirmationKey] = *command.delivery.confirmationTimeoutMs;
}

json::object frameOf(std::string const& id, std::string const& connectionId, PlatformCommand& command)
{
    json::object frame;
    frame["id"] = id;
    frame["method"] = command.method;
    frame["connectionId"] = connectionId;
    if (command.params)
        frame.emplace("params", *std::exchange(command.params, std::nullopt));
    if (command.agent)
        frame.emplace("agent", *std::exchange(command.agent, std::nullopt));
    return frame;
}

Agent agentOf(StoredConnection const& connection, json::object const* agent)
{
    auto const word = [&](char const* key, std::size_t maxLength) {
        auto const given = agent ? read::text(*agent, key) : std::nullopt;
        return given && !given->empty() ? std::optional(text::prefix(*given, maxLength)) : std::nullopt;
    };
    auto const platformRef = agent ? read::text(*agent, "ref") : std::nullopt;
    return {.ref = agentRef(connection.id, platformRef.value_or("")),
            .connectionId = connection.id,
            .name = word("name", maxName).value_or(text::prefix(connection.platformName, maxName)),
            .task = word("task", maxTask)};
}

Duration patienceFor(json::object const* params, Duration usual)
{
    using namespace DeliveryBounds;
    auto const asked = params ? read::integer(*params, confirmationKey) : std::nullopt;
    std::int64_t const more =
        std::clamp(asked.value_or(defaultConfirmation), defaultConfirmation, maxConfirmation) -
        defaultConfirmation;
    return usual + std::chrono::milliseconds(more);
}

std::string summaryOf(std::string_view method, json::object const* params)
{
    std::string summary(method);
    if (method == "shell.run")
        summary = withSubject("Run", params, "command");
    else if (method == "urls.open")
        summary = withSubject("Open", params, "url");
    else if (method == "apps.open" || method == "apps.activate")
        summary = withSubject("Open", params, params && params->contains("name") ? "name" : "bundleId");
    else if (method == "files.download")
        summary = withSubject("Read file", params, "path");
    else if (method == "files.upload.begin")
        summary = withSubject("Write file", params, "path");
    else if (method == "actions.perform")
        summary = actionsSummary(params);
    std::ranges::replace_if(
        summary, [](char sign) { return sign == '\n' || sign == '\r' || sign == '\t'; }, ' ');
    std::string const plain = text::trimmed(text::withoutControlCharacters(summary));
    std::string const shown = text::prefix(plain, maxSummary);
    return shown.size() < plain.size() ? shown + "…" : shown;
}

} // namespace zelvo::service
