#include "state/ActivityEntry.h"

#include "base/DateText.h"
#include "base/LocalizedTexts.h"
#include "state/StoredList.h"

namespace zelvo {

namespace {

template <class T>
void addIfPresent(json::object& object, std::string_view key, std::optional<T> const& value)
{
    if (value)
        object[key] = *value;
}

/// Empty if there is none; `nullopt` if it is of another type.
std::optional<std::vector<std::string>> environmentIn(json::object const& object)
{
    std::vector<std::string> lines;
    json::value const* const stored = object.if_contains("env");
    if (!stored || stored->is_null())
        return lines;
    if (!stored->is_array())
        return std::nullopt;
    for (json::value const& line : stored->get_array()) {
        if (!line.is_string())
            return std::nullopt;
        lines.emplace_back(line.get_string());
    }
    return lines;
}

} // namespace

ActivityKind guessActivityKind(std::string_view platformName)
{
    return platformName == localized("activity.system") ? ActivityKind::system : ActivityKind::actions;
}

ActivityKind ActivityEntry::resolvedKind() const
{
    return kind ? *kind : guessActivityKind(platformName);
}

json::object ActivityEntry::toJson() const
{
    json::object object{
        {"id", id}, {"at", dates::storedSeconds(at)}, {"platformName", platformName}, {"summary", summary}};
    if (kind)
        object["kind"] = rawValue(*kind);
    addIfPresent(object, "connectionId", connectionId);
    addIfPresent(object, "note", note);
    addIfPresent(object, "detail", detail);
    addIfPresent(object, "count", count);
    addIfPresent(object, "agentName", agentName);
    addIfPresent(object, "cwd", cwd);
    if (!env.empty())
        object["env"] = json::array(env.begin(), env.end());
    return object;
}

std::optional<ActivityEntry> ActivityEntry::fromJson(json::value const& stored)
{
    json::object const* const object = stored.if_object();
    if (!object)
        return std::nullopt;
    auto const id = read::text(*object, "id");
    auto const at = read::number(*object, "at");
    auto const platformName = read::text(*object, "platformName");
    auto const summary = read::text(*object, "summary");
    auto const kindText = stored::optionalText(*object, "kind");
    auto const connectionId = stored::optionalText(*object, "connectionId");
    auto const note = stored::optionalText(*object, "note");
    auto const detail = stored::optionalText(*object, "detail");
    auto const count = stored::optionalInteger(*object, "count");
    auto const agentName = stored::optionalText(*object, "agentName");
    auto const cwd = stored::optionalText(*object, "cwd");
    auto const env = environmentIn(*object);
    if (!id || !at || !platformName || !summary || !kindText || !connectionId || !note || !detail || !count ||
        !agentName || !cwd || !env)
        return std::nullopt;
    std::optional<ActivityKind> kind;
    if (*kindText) {
        kind = fromRawValue<ActivityKind>(**kindText);
        if (!kind)
            return std::nullopt;
    }
    return ActivityEntry{*id,           dates::fromStoredSeconds(*at),
                         *platformName, *summary,
                         kind,          *connectionId,
                         *note,         *detail,
                         *count,        *agentName,
                         *cwd,          *env};
}

} // namespace zelvo
