#pragma once

#include "platform/Installation.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace zelvo {

/// A copy of the program in `zelvo-agent` of the person's data folder, with its Info.json beside it, an icon,
/// a desktop entry, which is also the default for link URLs, and an autostart entry. Only the person can
/// write these files. An autostart entry that the person has switched off stays as it is.
class LinuxInstallation final : public Installation {
public:
    struct Folders {
        std::filesystem::path dataHome;
        std::filesystem::path configHome;
        std::optional<std::filesystem::path> runtime;
    };
    /// Makes the application of a desktop entry the default for link URLs.
    using RegisterLinks = std::function<void(std::filesystem::path const& entry)>;

    /// program  the running one, without links
    LinuxInstallation(std::filesystem::path program, Folders folders, RegisterLinks registerLinks);

    ProgramPlaces places() override;
    std::optional<std::string> installedVersion() override;
    bool install() override;
    bool startAfterEnd(std::string successor) override;

private:
    std::filesystem::path installedProgram() const
    {
        return folders.dataHome / "zelvo-agent" / "zelvo-agent";
    }
    bool trashEarlierCopy() const;
    bool writeEntries() const;
    bool writeAutostart() const;

    std::filesystem::path const program;
    Folders const folders;
    RegisterLinks const registerLinks;
};

/// The path of this process's program; empty if the system does not say.
std::filesystem::path runningProgram();

} // namespace zelvo
