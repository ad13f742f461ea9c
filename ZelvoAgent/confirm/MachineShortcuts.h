#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The system-specific part of dangerous shortcuts; one source file per system. Pure; any thread.
namespace zelvo::MachineShortcuts {

/// A combination that is dangerous only on this system.
struct Row {
    std::string_view combination; ///< in the form of DangerousShortcuts::normalize
    std::string_view meaningKey;
    std::span<std::string_view const> apps; ///< bundle identifiers
};
std::span<Row const> rows();

/// Bundle identifiers of this system's messengers and mail programs.
std::span<std::string_view const> messengers();
std::span<std::string_view const> mailPrograms();

/// The combination that is really pressed on this system: the modifiers that have a key here, then the last
/// of the other keys. The order of `keys` does not matter otherwise.
/// keys  in canonical spelling
std::vector<std::string> pressed(std::vector<std::string> const& keys);

} // namespace zelvo::MachineShortcuts
