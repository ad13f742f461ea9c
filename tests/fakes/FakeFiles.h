#pragma once

#include "drivers/FileGate.h"

#include <exception>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// Granted files in memory, by the path that callers use.
class FakeFiles final : public FileGate {
public:
    std::map<std::string, std::string> contents;             ///< what a test reads and sets
    std::vector<std::string> readPaths;                      ///< in the order of the calls
    std::vector<std::pair<std::string, std::string>> writes; ///< path and data, including failed calls
    std::exception_ptr failure;                              ///< if set, every call throws it

    Task<std::string> read(std::string path) override
    {
        readPaths.push_back(path);
        throwFailure();
        co_return contents[path];
    }

    Task<> write(std::string path, std::string data) override
    {
        writes.emplace_back(path, data);
        throwFailure();
        contents[path] = std::move(data);
        co_return;
    }

private:
    void throwFailure() const
    {
        if (failure)
            std::rethrow_exception(failure);
    }
};

} // namespace zelvo
