#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace zelvo {

/// The baseline of a screenshot: one grab of the root window through shared memory and one encode, with
/// everything made ready beforehand and nothing copied.
class BareScreenshot {
public:
    /// Throws std::runtime_error when the server shares no memory.
    explicit BareScreenshot(std::string const& display);
    ~BareScreenshot();

    /// Gives the size of the JPEG; 0 after a failure.
    std::size_t take(int quality);

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace zelvo
