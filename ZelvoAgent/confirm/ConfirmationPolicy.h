#pragma once

#include "confirm/ConfirmationSubject.h"
#include "wire/Json.h"

#include <cstdint>
#include <optional>

namespace zelvo {

/// Which kinds of action of a connection the person must confirm.
struct ConfirmationPolicy {
    static constexpr std::int64_t currentVersion = 2;

    bool confirmShell = true;
    bool confirmFileDelete = true;
    bool confirmFileWrite = false; ///< the only one that is off by default
    bool confirmNonHttpUrl = true;
    bool confirmDangerousActions = true; ///< submit-like clicks and dangerous shortcuts
    bool confirmDialogActions = true;
    std::int64_t version = currentVersion;
    bool operator==(ConfirmationPolicy const&) const = default;

    bool requiresConfirmation(ConfirmationSubject const& subject) const;

    json::object toJson() const;
    /// Reads a stored policy of any version and upgrades it to the current one. A missing key gets its
    /// default; a key of the wrong type gives `nullopt`. In policies older than version 2 both action
    /// switches become true.
    static std::optional<ConfirmationPolicy> fromJson(json::value const& stored);
};

} // namespace zelvo
