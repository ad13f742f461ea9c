#pragma once

#include "base/Task.h"

#include <string>

namespace zelvo {

/// Reads and writes whole files in the folders that the person granted.
/// Thread: any; resumes the caller on the caller's executor.
/// Made by: drivers/FileAccess, tests/fakes/FakeFiles.
class FileGate {
public:
    virtual ~FileGate() = default;
    /// The file's bytes. Throws AgentError::scopeDenied for a path outside the granted folders,
    /// AgentError::invalidRequest for a file that does not exist or is too large, FileFailure for an error of
    /// the system.
    virtual Task<std::string> read(std::string path) = 0;
    /// Creates or replaces a file in one step. Throws the same errors as read().
    virtual Task<> write(std::string path, std::string data) = 0;
};

} // namespace zelvo
