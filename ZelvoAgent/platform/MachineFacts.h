#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo {

/// What the machine is. Thread: any; no call waits for more than a system call.
/// Made by: platform/linux/LinuxMachineFacts, tests/fakes/FakeMachineFacts.
class MachineFacts {
public:
    virtual ~MachineFacts() = default;
    virtual std::optional<std::string> computerName() = 0;
    /// "major.minor.patch".
    virtual std::string osVersion() = 0;
    /// Bytes that the home folder's volume has free for the person.
    virtual std::optional<std::uint64_t> freeDiskBytes() = 0;
    /// Bytes of this process that are resident.
    virtual std::optional<std::uint64_t> residentBytes() = 0;
    virtual std::int32_t ownPid() = 0;
};

} // namespace zelvo
