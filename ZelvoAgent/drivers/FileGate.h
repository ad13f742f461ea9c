#pragma once

#include "base/Task.h"

#include <string>

namespace zelvo {

/// Whole files in the folders that the person granted.
/// Thread: any; resumes the caller on its own executor. Made by: drivers/FileAccess, tests/fakes/FakeFiles.
class FileGate {
public:
    virtual ~FileGate() = default;
    /// The file's bytes. Throws AgentError::scopeDenied for a place outside of the granted folders,
    /// AgentError::invalidRequest for a file that is not there or too large, FileFailure of the system.
    virtual Task<std::string> read(std::string path) = 0;
    /// Makes or replaces a file in one step. Throws the same.
    virtual Task<> write(std::string path, std::string data) = 0;
};

} // namespace zelvo
