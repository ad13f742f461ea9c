#include "ZelvoGateway/control/PlatformCommand.h"

#include "ZelvoGateway/base/Failure.h"
#include "base/Text.h"
#include "wire/MethodTable.h"
#include "wire/ScopePolicy.h"

#include <algorithm>
#include <array>
#include <span>

namespace zelvo::service {

namespace {

constexpr std::size_t maxName = 100;    // characters
constexpr std::size_t maxTask = 300;    // characters
constexpr std::size_t maxSummary = 200; // characters
constexpr char const* confirmationKey = "confirmationTimeoutMs";

constexpr std::array<std::string_view, 3> deliveryKeys = {"whenUnavailable", "ttlSeconds", confirmationKey};

Failure invalid(std::string message)
{
    return {.code = ErrorCode::invalidRequest, .message = std::move(message)};
}

bool isOneOf(std::span<std::string_view const> all, std::string_view one)
{
    return std::ranges::find(all, one) != all.end();
}

/// A member that counts as missing when it is null.
json::value* member(json::object& object, std::string_view key)
{
    json::value* const value = object.if_contains(key);
    return value && !value->is_null() ? value : nullptr;
}

std::string methodOf(json::object const& body)
{
    auto const method = read::text(body, "method");
    if (!method || method->empty())
        throw invalid("\"method\" must be a text");
    // What gateway and machine say to each other names other connections, whatever this one may do.
    Method const* const row = methodNamed(*method);
    if (row && !row->isForPlatforms())
        throw Failure{.code = ErrorCode::forbidden,
                      .message = "\"" + *method + "\" is not for platforms to send"};
    return *method;
}

std::optional<json::object> takeObject(json::object& body, std::string_view key)
{
    json::value* const value = member(body, key);
    if (!value)
        return std::nullopt;
    if (!value->is_object())
        throw invalid("\"" + std::string(key) + "\" must be an object");
    return std::move(value->get_object());
}

std::optional<std::int64_t>
integerOf(json::object& delivery, std::string_view key, std::int64_t least, std::int64_t most)
{
    json::value const* const value = member(delivery, key);
    if (!value)
        return std::nullopt;
    if (!value->is_int64() || value->get_int64() < least || value->get_int64() > most)
        throw invalid("\"" + std::string(key) + "\" must be an integer from " + std::to_string(least) +
                      " to " + std::to_string(most));
    return value->get_int64();
}

std::optional<records::WhenUnavailable> whenUnavailableOf(json::object& delivery)
{
    json::value const* const value = member(delivery, "whenUnavailable");
    if (!value)
        return std::nullopt;
    auto const wanted = records::fromJson<records::WhenUnavailable>(*value);
    if (!wanted)
        throw invalid(R"("whenUnavailable" must be "fail" or "queue")");
    return wanted;
}

records::DeliveryOptions deliveryOf(json::object& body)
{
    using namespace DeliveryBounds;
    for (std::string_view const key : deliveryKeys)
        if (body.contains(key)) // There it would have no effect, which the caller would learn too late.
            throw invalid("\"" + std::string(key) + R"(" belongs into "delivery")");
    auto delivery = takeObject(body, "delivery");
    if (!delivery)
        return {};
    for (auto const& one : *delivery)
        if (!isOneOf(deliveryKeys, one.key()))
            throw invalid("\"" + text::prefix(one.key(), maxName) + "\" is no delivery option");
    return {.confirmationTimeoutMs = integerOf(*delivery, confirmationKey, minConfirmation, maxConfirmation),
            .ttlSeconds = integerOf(*delivery, "ttlSeconds", minTtl, maxTtl),
            .whenUnavailable = whenUnavailableOf(*delivery)};
}

bool takesConfirmationTime(std::string_view method)
{
    return method == "shell.run" || method == "urls.open";
}

/// "Run: make", or only "Run" when the params do not say what.
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

PlatformCommand readCommand(json::object body)
{
    PlatformCommand command;
    command.method = methodOf(body);
    command.params = takeObject(body, "params");
    command.agent = takeObject(body, "agent");
    command.delivery = deliveryOf(body);
    if (command.delivery.confirmationTimeoutMs && takesConfirmationTime(command.method)) {
        if (!command.params)
            command.params.emplace();
        (*command.params)[confirmationKey] = *command.delivery.confirmationTimeoutMs;
    }
    return command;
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
    auto const word = [&](char const* key, std::size_t longest) {
        auto const given = agent ? read::text(*agent, key) : std::nullopt;
        return given && !given->empty() ? std::optional(text::prefix(*given, longest)) : std::nullopt;
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

bool needsControl(std::string_view method)
{
    return ScopePolicy::required(method) == AgentScope::input;
}

bool wasNotStarted(std::string_view method, ErrorCode code)
{
    // A batch of actions is refused between two of them as well, and the first of them must not run twice.
    return method != "actions.perform" &&
           (code == ErrorCode::machinePaused || code == ErrorCode::machineUnavailable);
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
