#pragma once

#include "drivers/InputAction.h"
#include "wire/Availability.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The texts of the activity log, in the person's language.
namespace zelvo::ActivityWording {

/// Describes a batch of actions. Typed text never enters the log, only its length.
struct Actions {
    std::string summary;
    std::string note;
    std::string detail;
    bool operator==(Actions const&) const = default;
};
Actions actions(std::vector<InputAction> const& list, std::optional<std::string> const& appName);

/// Describes a change of availability.
std::string availability(Availability from, Availability to);

/// How a shell command ended and how long it took.
std::string terminalNote(std::int64_t exitCode, std::int64_t durationMs, bool timedOut);
/// "850 ms", "12 s", "1 min 30 s".
std::string duration(std::int64_t ms);

/// A chord as symbols, "⌘⇧K".
std::string keyName(std::vector<std::string> const& keys);
/// "a, b and c".
std::string sentence(std::vector<std::string> const& items);

} // namespace zelvo::ActivityWording
