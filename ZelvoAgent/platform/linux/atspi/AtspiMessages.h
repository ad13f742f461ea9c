#pragma once

#include "platform/linux/atspi/AtspiRoles.h"
#include "platform/linux/dbus/BusMessages.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Parsers of AT-SPI replies. The content is not trusted: each parser accepts any message, returns `nullopt`
/// for another type, and bounds what it keeps.
namespace zelvo::atspi {

inline constexpr std::size_t maxTextLength = 64u << 10; ///< bytes
inline constexpr std::size_t maxChildren = 10'000;
inline constexpr std::size_t maxActions = 64;
inline constexpr std::size_t maxRelations = 32;
inline constexpr std::size_t maxTargets = 32;
inline constexpr std::size_t maxActionNameLength = 256; ///< bytes

/// An object of an application. An empty name means the sender.
struct Reference {
    std::string name;
    std::string path;
    bool operator==(Reference const&) const = default;
};

/// A rectangle as the application reports it.
struct Extents {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool operator==(Extents const&) const = default;

    /// Whether the two rectangles overlap.
    bool meets(Extents const& other) const
    {
        auto const overlap = [](std::int64_t start, std::int64_t length, std::int64_t from,
                                std::int64_t size) { return start < from + size && from < start + length; };
        return overlap(x, width, other.x, other.width) && overlap(y, height, other.y, other.height);
    }
};

/// Interfaces of an element, one bit each.
enum Interface : std::uint32_t {
    hasAction = 1,
    hasComponent = 2,
    hasText = 4,
    hasEditableText = 8,
};

/// The properties of org.a11y.atspi.Accessible.
struct Properties {
    std::optional<std::string> name;
    std::optional<std::string> description;
    std::optional<std::string> help;       ///< HelpText
    std::optional<std::string> identifier; ///< AccessibleId
    std::optional<std::int32_t> childCount;
};

/// An action of an element; some toolkits translate it into the desktop's language.
struct Action {
    std::string name;
    std::string description;
    auto operator<=>(Action const&) const = default;
};

/// A relation to other elements.
struct Relation {
    std::uint32_t type = 0;
    std::vector<Reference> targets;
};

/// "a(so)"; null references are left out.
std::optional<std::vector<Reference>> readReferences(sd_bus_message* message);
/// "(so)"; `nullopt` for the null reference.
std::optional<Reference> readReference(sd_bus_message* message);
/// "u"
std::optional<AtspiRole> readRole(sd_bus_message* message);
/// "au": 32 states per number.
std::optional<AtspiStates> readStates(sd_bus_message* message);
/// "as", as bits of Interface.
std::optional<std::uint32_t> readInterfaces(sd_bus_message* message);
/// "a{sv}"
std::optional<Properties> readProperties(sd_bus_message* message);
/// "v" with a text.
std::optional<std::string> readTextProperty(sd_bus_message* message);
/// "v" with a number.
std::optional<std::int32_t> readNumberProperty(sd_bus_message* message);
/// "v" with a reference; `nullopt` for the null reference.
std::optional<Reference> readReferenceProperty(sd_bus_message* message);
/// "s"
std::optional<std::string> readBoundedText(sd_bus_message* message);
/// "(iiii)"
std::optional<Extents> readExtents(sd_bus_message* message);
/// "a(sss)"
std::optional<std::vector<Action>> readActions(sd_bus_message* message);
/// "a(ua(so))"
std::optional<std::vector<Relation>> readRelations(sd_bus_message* message);
/// "a{ss}": the value of that key.
std::optional<std::string> readAttribute(sd_bus_message* message, std::string_view wanted);

/// The text cut to `longest` bytes of whole characters, with invalid UTF-8 replaced.
std::string bounded(std::string_view bytes, std::size_t maxBytes);

} // namespace zelvo::atspi
