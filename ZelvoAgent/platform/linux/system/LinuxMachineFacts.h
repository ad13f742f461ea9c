#pragma once

#include "platform/MachineFacts.h"

#include <filesystem>
#include <string_view>

namespace zelvo {

/// Facts from system calls and from the files in /etc and /proc.
class LinuxMachineFacts final : public MachineFacts {
public:
    /// root  the folder that contains etc/ and usr/lib/; home  a folder on the volume whose free space is
    /// reported
    explicit LinuxMachineFacts(std::filesystem::path root, std::filesystem::path home);

    /// PRETTY_HOSTNAME of etc/machine-info, else the host name.
    std::optional<std::string> computerName() override;
    /// VERSION_ID of os-release; "0.0.0" without one.
    std::string osVersion() override;
    std::optional<std::uint64_t> freeDiskBytes() override;
    std::optional<std::uint64_t> residentBytes() override;
    std::int32_t ownPid() override;

    /// "12" becomes "12.0.0" and "24.04" becomes "24.4.0": three numbers; missing ones are 0, further ones
    /// are dropped.
    static std::string threeNumbers(std::string_view version);

private:
    std::filesystem::path root;
    std::filesystem::path home;
};

} // namespace zelvo
