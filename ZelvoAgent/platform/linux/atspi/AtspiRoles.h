#pragma once

#include "platform/linux/atspi/AtspiRole.h"
#include "platform/linux/atspi/AtspiStates.h"

#include <string_view>

namespace zelvo {

/// The kind of an element's parent, as far as its role depends on it.
struct AtspiPlace {
    bool isInApplication = false; ///< a child of the application itself
    bool isInMenuBar = false;     ///< a child of a menu bar
};

struct AxRole {
    std::string_view role;
    std::string_view subrole = {}; ///< empty: none
    bool operator==(AxRole const&) const = default;
};

/// The role on the wire. States decide where AT-SPI has one role for two of ours.
AxRole axRoleOf(AtspiRole role, AtspiStates states, AtspiPlace place);

/// Whether such an element may have too many children to list if its states contain managesDescendants.
bool holdsManyChildren(AtspiRole role);

/// Whether such an element contains nothing but its own parts. A label or a paragraph may contain whole
/// fields.
bool isLeafRole(AtspiRole role);

/// Whether it is text to read or write, which inside a password field could reveal the password.
bool isTextRole(std::string_view axRole);

} // namespace zelvo
