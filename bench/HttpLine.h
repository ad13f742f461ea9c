#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zelvo {

/// One HTTP connection that stays open: blocking Beast on the caller's thread.
class HttpLine {
public:
    /// headers   "Name: value"
    HttpLine(std::uint16_t port, std::string path, std::vector<std::string> const& headers);
    ~HttpLine();

    /// Sends a body and returns the answer's. Throws std::runtime_error if its status is not 200.
    std::string const& post(std::string const& body);

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace zelvo
