#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace zelvo {

/// The baseline for a screenshot: one grab of the root window through shared memory and one encode, with
/// everything prepared and nothing copied.
class BareScreenshot {
public:
    /// Throws std::runtime_error if the server lacks shared memory.
    explicit BareScreenshot(std::string const& display);
    ~BareScreenshot();

    /// Returns the size of the JPEG; 0 after a failure.
    std::size_t take(int quality);

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace zelvo
