#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo {

/// Facts about the machine. Thread: any; blocks for a system call at most.
/// Made by: platform/linux/system/LinuxMachineFacts, tests/fakes/FakeDesktop.h.
class MachineFacts {
public:
    virtual ~MachineFacts() = default;
    virtual std::optional<std::string> computerName() = 0;
    /// "major.minor.patch".
    virtual std::string osVersion() = 0;
    /// Free bytes of the home folder's volume, as far as the user may use them.
    virtual std::optional<std::uint64_t> freeDiskBytes() = 0;
    /// Resident memory of this process, in bytes.
    virtual std::optional<std::uint64_t> residentBytes() = 0;
    virtual std::int32_t ownPid() = 0;
};

} // namespace zelvo
