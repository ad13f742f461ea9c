#pragma once

namespace zelvo {

/// What the system lets this program do at this moment.
struct Permissions {
    bool accessibility = false;
    bool screenRecording = false;
    bool operator==(Permissions const&) const = default;
};

} // namespace zelvo
