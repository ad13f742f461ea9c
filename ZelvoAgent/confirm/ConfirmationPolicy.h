#pragma once

#include "confirm/ConfirmationSubject.h"
#include "wire/Json.h"

#include <cstdint>
#include <optional>

namespace zelvo {

/// Which kinds of action a connection needs a person's yes for.
struct ConfirmationPolicy {
    static constexpr std::int64_t currentVersion = 2;

    bool confirmShell = true;
    bool confirmFileDelete = true;
    bool confirmFileWrite = false; ///< the only switch that starts off
    bool confirmNonHttpUrl = true;
    bool confirmDangerousActions = true; ///< submit-like clicks and dangerous shortcuts
    bool confirmDialogActions = true;
    std::int64_t version = currentVersion;
    bool operator==(ConfirmationPolicy const&) const = default;

    bool requiresConfirmation(ConfirmationSubject const& subject) const;

    json::object toJson() const;
    /// Reads a stored policy of any version; the result is of the current one. A missing key takes its
    /// default, a key of the wrong type fails the whole. Policies older than version 2 get both action
    /// switches on.
    static std::optional<ConfirmationPolicy> fromJson(json::value const& stored);
};

} // namespace zelvo
