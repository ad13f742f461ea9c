#include "platform/linux/atspi/AtspiMessages.h"

#include "base/Text.h"

#include <string_view>

namespace zelvo::atspi {

namespace {

constexpr char const* nullPath = "/org/a11y/atspi/null";

template <class T>
std::optional<T> basic(sd_bus_message* message, char type)
{
    T value{};
    if (sd_bus_message_read_basic(message, type, static_cast<void*>(&value)) <= 0)
        return std::nullopt;
    return value;
}

std::optional<std::string_view> rawText(sd_bus_message* message, char type = SD_BUS_TYPE_STRING)
{
    auto const text = basic<char const*>(message, type);
    return text && *text ? std::optional<std::string_view>(*text) : std::nullopt;
}

bool enter(sd_bus_message* message, char type, char const* contents)
{
    return sd_bus_message_enter_container(message, type, contents) > 0;
}

/// Iterates over an array until its end, until `take` returns false or the message is malformed. Leaves the
/// array only after its end.
template <class F>
bool forEach(sd_bus_message* message, char const* contents, F take)
{
    if (!enter(message, SD_BUS_TYPE_ARRAY, contents))
        return false;
    while (sd_bus_message_at_end(message, 0) == 0)
        if (!take())
            return true;
    return sd_bus_message_exit_container(message) >= 0;
}

/// A "(so)"; the null reference too.
std::optional<Reference> anyReference(sd_bus_message* message)
{
    if (!enter(message, SD_BUS_TYPE_STRUCT, "so"))
        return std::nullopt;
    auto const name = rawText(message);
    auto const path = rawText(message, SD_BUS_TYPE_OBJECT_PATH);
    if (!name || !path || sd_bus_message_exit_container(message) < 0)
        return std::nullopt;
    return Reference{std::string(*name), std::string(*path)};
}

std::optional<std::int32_t> anyNumber(sd_bus_message* message)
{
    if (auto const number = basic<std::int32_t>(message, SD_BUS_TYPE_INT32))
        return number;
    auto const positive = basic<std::uint32_t>(message, SD_BUS_TYPE_UINT32);
    return positive ? std::optional(static_cast<std::int32_t>(std::min(*positive, 0x7fffffffu)))
                    : std::nullopt;
}

/// Reads the content of a variant of one of these types; skips a variant of another type.
template <class T, class F>
std::optional<T> inVariant(sd_bus_message* message, std::string_view types, F read)
{
    char kind = 0;
    char const* contents = nullptr;
    if (sd_bus_message_peek_type(message, &kind, &contents) <= 0 || kind != SD_BUS_TYPE_VARIANT || !contents)
        return std::nullopt;
    if (std::string_view(contents).size() != 1 || types.find(contents[0]) == std::string_view::npos) {
        sd_bus_message_skip(message, "v");
        return std::nullopt;
    }
    if (!enter(message, SD_BUS_TYPE_VARIANT, contents))
        return std::nullopt;
    std::optional<T> value = read(message);
    if (!value || sd_bus_message_exit_container(message) < 0)
        return std::nullopt;
    return value;
}

std::uint32_t interfaceOf(std::string_view name)
{
    constexpr std::string_view prefix = "org.a11y.atspi.";
    if (!name.starts_with(prefix))
        return 0;
    name.remove_prefix(prefix.size());
    if (name == "Action")
        return hasAction;
    if (name == "Component")
        return hasComponent;
    if (name == "Text")
        return hasText;
    return name == "EditableText" ? hasEditableText : 0u;
}

bool readProperty(sd_bus_message* message, Properties& properties)
{
    if (!enter(message, SD_BUS_TYPE_DICT_ENTRY, "sv"))
        return false;
    auto const name = rawText(message);
    if (!name)
        return false;
    if (*name == "Name")
        properties.name = readTextProperty(message);
    else if (*name == "Description")
        properties.description = readTextProperty(message);
    else if (*name == "HelpText")
        properties.help = readTextProperty(message);
    else if (*name == "AccessibleId")
        properties.identifier = readTextProperty(message);
    else if (*name == "ChildCount")
        properties.childCount = readNumberProperty(message);
    else
        sd_bus_message_skip(message, "v");
    return sd_bus_message_exit_container(message) >= 0;
}

} // namespace

std::string bounded(std::string_view bytes, std::size_t maxBytes)
{
    if (bytes.size() > maxBytes) {
        // Do not cut a character in two: the first byte left out must start a character.
        while (maxBytes > 0 && (static_cast<unsigned char>(bytes[maxBytes]) & 0xc0) == 0x80)
            --maxBytes;
        bytes = bytes.substr(0, maxBytes);
    }
    return text::repaired(bytes);
}

std::optional<std::vector<Reference>> readReferences(sd_bus_message* message)
{
    std::vector<Reference> references;
    bool const isList = forEach(message, "(so)", [&] {
        auto reference = anyReference(message);
        if (!reference)
            return false;
        if (reference->path != nullPath)
            references.push_back(std::move(*reference));
        return references.size() < maxChildren;
    });
    return isList ? std::optional(std::move(references)) : std::nullopt;
}

std::optional<Reference> readReference(sd_bus_message* message)
{
    auto reference = anyReference(message);
    if (reference && reference->path == nullPath)
        return std::nullopt;
    return reference;
}

std::optional<AtspiRole> readRole(sd_bus_message* message)
{
    auto const number = basic<std::uint32_t>(message, SD_BUS_TYPE_UINT32);
    return number ? std::optional(static_cast<AtspiRole>(*number)) : std::nullopt;
}

std::optional<AtspiStates> readStates(sd_bus_message* message)
{
    AtspiStates states;
    unsigned shift = 0;
    bool const isList = forEach(message, "u", [&] {
        auto const part = basic<std::uint32_t>(message, SD_BUS_TYPE_UINT32);
        if (!part)
            return false;
        states.bits |= static_cast<std::uint64_t>(*part) << shift;
        shift += 32;
        return shift < 64;
    });
    return isList ? std::optional(states) : std::nullopt;
}

std::optional<std::uint32_t> readInterfaces(sd_bus_message* message)
{
    std::uint32_t interfaces = 0;
    int left = 256;
    bool const isList = forEach(message, "s", [&] {
        auto const name = rawText(message);
        if (!name)
            return false;
        interfaces |= interfaceOf(*name);
        return --left > 0;
    });
    return isList ? std::optional(interfaces) : std::nullopt;
}

std::optional<Properties> readProperties(sd_bus_message* message)
{
    Properties properties;
    int left = 256;
    bool const isList =
        forEach(message, "{sv}", [&] { return readProperty(message, properties) && --left > 0; });
    return isList ? std::optional(std::move(properties)) : std::nullopt;
}

std::optional<std::string> readTextProperty(sd_bus_message* message)
{
    return inVariant<std::string>(message, "s", readBoundedText);
}

std::optional<std::int32_t> readNumberProperty(sd_bus_message* message)
{
    return inVariant<std::int32_t>(message, "iu", anyNumber);
}

std::optional<Reference> readReferenceProperty(sd_bus_message* message)
{
    return enter(message, SD_BUS_TYPE_VARIANT, "(so)") ? readReference(message) : std::nullopt;
}

std::optional<std::string> readBoundedText(sd_bus_message* message)
{
    auto const text = rawText(message);
    return text ? std::optional(bounded(*text, maxTextLength)) : std::nullopt;
}

std::optional<Extents> readExtents(sd_bus_message* message)
{
    if (!enter(message, SD_BUS_TYPE_STRUCT, "iiii"))
        return std::nullopt;
    auto const x = basic<std::int32_t>(message, SD_BUS_TYPE_INT32);
    auto const y = basic<std::int32_t>(message, SD_BUS_TYPE_INT32);
    auto const width = basic<std::int32_t>(message, SD_BUS_TYPE_INT32);
    auto const height = basic<std::int32_t>(message, SD_BUS_TYPE_INT32);
    if (!x || !y || !width || !height)
        return std::nullopt;
    return Extents{*x, *y, *width, *height};
}

std::optional<std::vector<Action>> readActions(sd_bus_message* message)
{
    std::vector<Action> actions;
    bool const isList = forEach(message, "(sss)", [&] {
        if (!enter(message, SD_BUS_TYPE_STRUCT, "sss"))
            return false;
        auto const name = rawText(message);
        auto const description = rawText(message);
        if (!name || !description || !rawText(message) || sd_bus_message_exit_container(message) < 0)
            return false;
        actions.push_back({bounded(*name, maxActionNameLength), bounded(*description, maxActionNameLength)});
        return actions.size() < maxActions;
    });
    return isList ? std::optional(std::move(actions)) : std::nullopt;
}

std::optional<std::vector<Relation>> readRelations(sd_bus_message* message)
{
    std::vector<Relation> relations;
    bool const isList = forEach(message, "(ua(so))", [&] {
        if (!enter(message, SD_BUS_TYPE_STRUCT, "ua(so)"))
            return false;
        auto const type = basic<std::uint32_t>(message, SD_BUS_TYPE_UINT32);
        if (!type || !enter(message, SD_BUS_TYPE_ARRAY, "(so)"))
            return false;
        Relation& relation = relations.emplace_back(Relation{.type = *type});
        while (sd_bus_message_at_end(message, 0) == 0) {
            auto target = anyReference(message);
            if (!target || relation.targets.size() >= maxTargets)
                return false;
            relation.targets.push_back(std::move(*target));
        }
        bool const hasTargets = sd_bus_message_exit_container(message) >= 0;
        if (!hasTargets || sd_bus_message_exit_container(message) < 0)
            return false;
        return relations.size() < maxRelations;
    });
    return isList ? std::optional(std::move(relations)) : std::nullopt;
}

std::optional<std::string> readAttribute(sd_bus_message* message, std::string_view wanted)
{
    std::optional<std::string> found;
    int left = 1024;
    forEach(message, "{ss}", [&] {
        if (!enter(message, SD_BUS_TYPE_DICT_ENTRY, "ss"))
            return false;
        auto const name = rawText(message);
        auto const value = rawText(message);
        if (!name || !value || sd_bus_message_exit_container(message) < 0)
            return false;
        if (*name == wanted)
            found = bounded(*value, maxTextLength);
        return !found && --left > 0;
    });
    return found;
}

} // namespace zelvo::atspi
