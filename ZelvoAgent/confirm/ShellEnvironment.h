#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// The variables that an agent sets for a command, as a person has to see them. Pure; any thread.
namespace zelvo::ShellEnvironment {

/// Whether this variable can make a shell, the loader or a common tool run other code than the command names.
/// Errs towards yes: a harmless variable that is named first costs nothing.
bool changesWhatRuns(std::string_view name);

/// "NAME=value", in the order of the names.
struct Lines {
    std::vector<std::string> risky; ///< those that change what runs
    std::vector<std::string> others;
};
Lines lines(std::map<std::string, std::string> const& environment);

} // namespace zelvo::ShellEnvironment
