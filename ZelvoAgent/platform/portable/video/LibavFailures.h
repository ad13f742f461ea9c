#pragma once

#include <string>

namespace zelvo {

/// Throws VideoFailure when a code of libav tells failure: `what` and its reason.
void checkLibav(int code, std::string const& what);

} // namespace zelvo
