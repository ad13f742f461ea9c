#pragma once

#include <filesystem>

namespace zelvo {

/// Shows where a file or a folder stands, in the desktop's file manager. Best effort: nobody learns whether
/// it was shown. Thread: any; does not wait.
/// Made by: platform/linux/dbus/LinuxFileReveal, tests/fakes/FakeFileReveal.
class FileReveal {
public:
    virtual ~FileReveal() = default;
    /// file  absolute
    virtual void reveal(std::filesystem::path file) = 0;
};

} // namespace zelvo
