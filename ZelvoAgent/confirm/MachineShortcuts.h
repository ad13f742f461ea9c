#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// What differs from system to system about dangerous shortcuts; one source file a system. Pure; any thread.
namespace zelvo::MachineShortcuts {

/// A combination that does something only here.
struct Row {
    std::string_view combination; ///< in the form of DangerousShortcuts::normalize
    std::string_view meaningKey;
    std::span<std::string_view const> apps; ///< bundle identifiers
};
std::span<Row const> rows();

/// Bundle identifiers of this system's applications of a kind.
std::span<std::string_view const> messengers();
std::span<std::string_view const> mailPrograms();

/// A combination, its keys in canonical spelling, as it is really pressed: the modifiers that have a key
/// here, then the last of the other keys, in which order ever.
std::vector<std::string> pressed(std::vector<std::string> const& keys);

} // namespace zelvo::MachineShortcuts
