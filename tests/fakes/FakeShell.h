#pragma once

#include "drivers/Shell.h"

#include <exception>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// Records the commands and returns the test's result.
class FakeShell final : public Shell {
public:
    struct Run {
        std::string command;
        std::optional<std::string> cwd;
        std::int64_t timeoutMs = 0;
        std::optional<std::map<std::string, std::string>> env;
        bool operator==(Run const&) const = default;
    };

    std::vector<Run> runs;
    ShellRunResult result;
    std::exception_ptr failure; ///< if set, every call throws it

    Task<ShellRunResult> run(std::string command,
                             std::optional<std::string> cwd,
                             std::int64_t timeoutMs,
                             std::optional<std::map<std::string, std::string>> env) override
    {
        runs.push_back({std::move(command), std::move(cwd), timeoutMs, std::move(env)});
        if (failure)
            std::rethrow_exception(failure);
        co_return result;
    }
};

} // namespace zelvo
