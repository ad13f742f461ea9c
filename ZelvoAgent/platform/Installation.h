#pragma once

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Where this program is and where programs belong on this machine. Folders end in "/".
struct ProgramPlaces {
    std::string program;                  ///< the running program's file
    std::string applicationsPath;         ///< the file of the person's installed copy
    std::vector<std::string> temporary;   ///< folders that come and go; a program does not belong there
    std::vector<std::string> permanent;   ///< folders that are fine even inside of those
    std::vector<std::string> development; ///< ends of folders from which a fresh build is tried
};

/// Installs this program for the person who runs it.
/// Thread: any; blocks for the disk.
/// Made by: platform/linux/applications/LinuxInstallation, tests/fakes/FakeInstallation.
class Installation {
public:
    virtual ~Installation() = default;
    virtual ProgramPlaces places() = 0;
    /// The version of the installed copy. `nullopt` if there is none or it does not say.
    virtual std::optional<std::string> installedVersion() = 0;
    /// Copies the running program to `applicationsPath`, where the desktop finds it: for links, in its menu
    /// and at the start of a session. An earlier copy goes to the trash. False on failure; the earlier copy
    /// is then still there or in the trash, and nothing is half copied.
    virtual bool install() = 0;
    /// Starts a program once this process has ended. False if that cannot be arranged.
    virtual bool startAfterEnd(std::string program) = 0;
};

} // namespace zelvo
