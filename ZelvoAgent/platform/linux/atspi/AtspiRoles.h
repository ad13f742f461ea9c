#pragma once

#include <cstdint>
#include <string_view>

namespace zelvo {

/// States of an element that are of use here, by their number in org.a11y.atspi.Accessible.GetState.
enum class AtspiState {
    active = 1,
    defunct = 6,
    editable = 7,
    enabled = 8,
    expandable = 9,
    focused = 12,
    iconified = 15,
    multiLine = 17,
    sensitive = 24,
    showing = 25,
    visible = 30,
    managesDescendants = 31,
    hasPopup = 42,
};

/// A set of states, one bit each.
struct AtspiStates {
    std::uint64_t bits = 0;

    bool has(AtspiState state) const { return (bits >> static_cast<int>(state) & 1) != 0; }
    AtspiStates& add(AtspiState state)
    {
        bits |= std::uint64_t{1} << static_cast<int>(state);
        return *this;
    }
    bool operator==(AtspiStates const&) const = default;
};

/// Roles by their number in org.a11y.atspi.Accessible.GetRole, as far as code asks for one.
namespace atspi_role {
inline constexpr std::uint32_t dialog = 16;
inline constexpr std::uint32_t layeredPane = 30;
inline constexpr std::uint32_t listItem = 32;
inline constexpr std::uint32_t menu = 33;
inline constexpr std::uint32_t menuBar = 34;
inline constexpr std::uint32_t pageTab = 37;
inline constexpr std::uint32_t panel = 39;
inline constexpr std::uint32_t passwordText = 40;
inline constexpr std::uint32_t pushButton = 43;
inline constexpr std::uint32_t frame = 23;
inline constexpr std::uint32_t tableCell = 56;
inline constexpr std::uint32_t treeItem = 91;
inline constexpr std::uint32_t window = 69;
inline constexpr std::uint32_t application = 75;
inline constexpr std::uint32_t documentWeb = 95;
} // namespace atspi_role

/// Where an element stands.
struct AtspiPlace {
    bool isInApplication = false; ///< a child of the application itself
    bool isInMenuBar = false;     ///< a child of a menu bar
};

struct AxRole {
    std::string_view role;
    std::string_view subrole = {}; ///< empty: none
    bool operator==(AxRole const&) const = default;
};

/// The role on the wire. States decide between roles that AT-SPI has only one of.
AxRole axRoleOf(std::uint32_t role, AtspiStates states, AtspiPlace place);

/// May the children of such an element be too many to be listed when its state says managesDescendants?
bool holdsManyChildren(std::uint32_t role);

/// Is nothing drawn in such an element that is not part of it? A label or a paragraph may hold whole fields.
bool isLeafRole(std::uint32_t role);

/// Is it text to read or to write, so that inside a password field it would give away the password?
bool isTextRole(std::string_view axRole);

} // namespace zelvo
