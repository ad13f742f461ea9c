#pragma once

#include "base/Clock.h"
#include "wire/EnumText.h"
#include "wire/Json.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

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

/// True for what an agent caused.
constexpr bool isAgent(ActivityKind kind)
{
    return kind <= ActivityKind::queue;
}

/// The kind of an entry that was stored without one.
ActivityKind guessActivityKind(std::string_view platformName);

/// One line of the activity log. The texts are in the language that was in use when they were written.
struct ActivityEntry {
    std::string id; ///< a UUID
    Date at;
    std::string platformName; ///< who did it: a platform, or the words for this machine, the server, the
                              ///< system or the program
    std::string summary;
    std::optional<ActivityKind> kind; ///< absent in entries of older versions
    std::optional<std::string> connectionId;
    std::optional<std::string> note;   ///< a second line
    std::optional<std::string> detail; ///< long text, shown on demand
    std::optional<std::int64_t> count; ///< how many like events it stands for; absent means one
    std::optional<std::string> agentName;
    bool operator==(ActivityEntry const&) const = default;

    ActivityKind resolvedKind() const;

    json::object toJson() const;
    static std::optional<ActivityEntry> fromJson(json::value const& stored);
};

} // namespace zelvo
