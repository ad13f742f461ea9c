#pragma once

#include <filesystem>

namespace zelvo {

/// Shows a file or folder in the desktop's file manager. Best effort: failures are not reported. Thread: any;
/// does not wait.
/// Made by: platform/linux/dbus/LinuxFileReveal, tests/fakes/FakeFileReveal.
class FileReveal {
public:
    virtual ~FileReveal() = default;
    /// file  absolute
    virtual void reveal(std::filesystem::path file) = 0;
};

} // namespace zelvo
