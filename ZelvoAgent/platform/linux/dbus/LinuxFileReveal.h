#pragma once

#include "platform/FileReveal.h"
#include "platform/linux/dbus/BusConnection.h"

#include <functional>
#include <string>

namespace zelvo {

/// The desktop's file manager, through org.freedesktop.FileManager1; without one, the default application for
/// folders.
class LinuxFileReveal final : public FileReveal {
public:
    /// Opens a URL with its default application. May block.
    using OpenUrl = std::function<bool(std::string url)>;

    /// session  must outlive this
    LinuxFileReveal(Executor workers, BusConnection& session, OpenUrl openUrl);

    /// Selects the file in its folder.
    void reveal(std::filesystem::path file) override;

private:
    Executor workers;
    BusConnection& session;
    OpenUrl openUrl;
};

} // namespace zelvo
