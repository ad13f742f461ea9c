#pragma once

#include "platform/FileReveal.h"
#include "platform/linux/dbus/BusConnection.h"

#include <functional>
#include <string>

namespace zelvo {

/// The desktop's file manager, by org.freedesktop.FileManager1; where none answers, what opens folders.
class LinuxFileReveal final : public FileReveal {
public:
    /// Opens a URL with its default application. May block.
    using OpenUrl = std::function<bool(std::string url)>;

    /// session: must outlive this
    LinuxFileReveal(Executor workers, BusConnection& session, OpenUrl openUrl);

    /// Selects the file in the folder that it stands in.
    void reveal(std::filesystem::path file) override;

private:
    Executor workers;
    BusConnection& session;
    OpenUrl openUrl;
};

} // namespace zelvo
