#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelvo::service {

/// A program such as `zelvo-gateway mcp`, with its input and output in the hands of the test.
class StdioProgram {
public:
    /// commandLine   the program's path and its arguments
    /// key           is in the environment; empty for none
    StdioProgram(std::vector<std::string> commandLine, std::string const& key);
    StdioProgram(StdioProgram const&) = delete;
    StdioProgram& operator=(StdioProgram const&) = delete;
    ~StdioProgram();

    void write(std::string const& text) const;
    void closeInput();
    void closeOutput();
    /// The next line of the output, without its end; empty after ten seconds or at the end.
    std::string readLine();
    /// The rest of the output.
    std::string readToEnd();
    /// What it wrote to standard error, once it has ended.
    std::string errors();
    /// Its exit code, 1000 if it does not end within ten seconds, the negative number of a signal.
    int wait();

private:
    bool readMore();

    pid_t pid = 0;
    int input = -1;
    int output = -1;
    int errorOutput = -1;
    std::string read;
    std::optional<int> code;
};

} // namespace zelvo::service
