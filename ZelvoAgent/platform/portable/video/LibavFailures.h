#pragma once

#include <string>

namespace zelvo {

/// Throws VideoFailure with `what` and the reason if a libav code is an error.
void checkLibav(int code, std::string const& what);

} // namespace zelvo
