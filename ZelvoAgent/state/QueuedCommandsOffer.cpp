#include "state/QueuedCommandsOffer.h"

#include "base/DateText.h"
#include "base/LocalizedTexts.h"

#include <utility>

namespace zelvo {

namespace {

std::optional<QueuedCommandInfo> commandFrom(json::value const& entry)
{
    json::object const* const object = entry.if_object();
    if (!object)
        return std::nullopt;
    auto id = read::text(*object, "commandId");
    auto type = read::text(*object, "type");
    if (!id || id->empty() || !type)
        return std::nullopt;
    QueuedCommandInfo command{.commandId = *std::move(id), .type = *type, .summary = {}, .expiresAt = {}};
    command.summary = read::text(*object, "summary").value_or(*std::move(type));
    if (auto const expiry = read::text(*object, "expiresAt"))
        command.expiresAt = dates::parseIso8601(*expiry);
    return command;
}

} // namespace

std::optional<QueuedCommandsOffer> QueuedCommandsOffer::parse(json::object const& params)
{
    auto connectionId = read::text(params, "connectionId");
    json::array const* const entries = read::array(params, "commands");
    if (!connectionId || connectionId->empty() || !entries)
        return std::nullopt;
    QueuedCommandsOffer offer{.connectionId = *std::move(connectionId),
                              .platformName =
                                  read::text(params, "platformName").value_or(localized("common.platform")),
                              .commands = {}};
    for (json::value const& entry : *entries) {
        auto command = commandFrom(entry);
        if (!command)
            return std::nullopt;
        offer.commands.push_back(*std::move(command));
    }
    return offer;
}

std::vector<std::string> QueuedCommandsOffer::ids() const
{
    std::vector<std::string> all;
    all.reserve(commands.size());
    for (QueuedCommandInfo const& command : commands)
        all.push_back(command.commandId);
    return all;
}

void QueuedCommandsOffer::nameBy(std::string const& connectionName)
{
    if (platformName == connectionName)
        return;
    std::string claimed = std::exchange(platformName, connectionName);
    if (claimed != localized("common.platform")) // The name of an offer that gives none.
        claimedName = std::move(claimed);
}

} // namespace zelvo
