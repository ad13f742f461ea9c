#pragma once

#include "base/Clock.h"
#include "wire/EnumText.h"
#include "wire/Json.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

enum class ActivityKind {
    actions,
    terminal,
    screen,
    queue,
    mac,
    server,
    connection,
    recording,
    update,
    system
};

template <>
struct EnumTexts<ActivityKind> {
    static constexpr std::array<std::string_view, 10> texts = {
        "actions", "terminal",   "screen",    "queue",  "mac",
        "server",  "connection", "recording", "update", "system"};
};

/// True if an agent caused entries of this kind.
constexpr bool isAgent(ActivityKind kind)
{
    return kind <= ActivityKind::queue;
}

/// The kind of a stored entry that has none.
ActivityKind guessActivityKind(std::string_view platformName);

/// One line of the activity log. The texts stay in the language in which they were logged.
struct ActivityEntry {
    std::string id; ///< a UUID
    Date at;
    std::string platformName; ///< who did it: a platform's name, or the localized name of this machine, the
                              ///< server, the system or the program
    std::string summary;
    std::optional<ActivityKind> kind; ///< absent in entries of older versions
    std::optional<std::string> connectionId;
    std::optional<std::string> note;   ///< a second line
    std::optional<std::string> detail; ///< a long text, shown on demand
    std::optional<std::int64_t> count; ///< number of merged events; absent means one
    std::optional<std::string> agentName;
    std::optional<std::string> cwd = {}; ///< the folder of a command, if the agent named one
    std::vector<std::string> env = {};   ///< the variables that the agent set for a command, "NAME=value"
    bool operator==(ActivityEntry const&) const = default;

    ActivityKind resolvedKind() const;

    json::object toJson() const;
    static std::optional<ActivityEntry> fromJson(json::value const& stored);
};

} // namespace zelvo
