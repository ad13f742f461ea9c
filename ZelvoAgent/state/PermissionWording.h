#pragma once

#include "platform/PermissionCause.h"

#include <string>

namespace zelvo {

/// Why a permission is missing and what helps, in the person's language.
struct PermissionHelp {
    std::string cause;
    std::string cure;
    std::string action = {}; ///< of a button that calls SystemAccess::request(); empty without one
    bool operator==(PermissionHelp const&) const = default;
};

/// Names of applications are made fit for one line each and the list is bounded.
PermissionHelp helpFor(PermissionCause const& cause);

} // namespace zelvo
