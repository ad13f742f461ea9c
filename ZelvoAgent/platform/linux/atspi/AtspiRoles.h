#pragma once

#include "platform/linux/atspi/AtspiRole.h"
#include "platform/linux/atspi/AtspiStates.h"

#include <string_view>

namespace zelvo {

/// What an element is a child of, as far as that matters to its role.
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
AxRole axRoleOf(AtspiRole role, AtspiStates states, AtspiPlace place);

/// May the children of such an element be too many to be listed when its state says managesDescendants?
bool holdsManyChildren(AtspiRole role);

/// Is nothing drawn in such an element that is not part of it? A label or a paragraph may hold whole fields.
bool isLeafRole(AtspiRole role);

/// Whether it is text to read or write, which inside a password field could reveal the password.
bool isTextRole(std::string_view axRole);

} // namespace zelvo
