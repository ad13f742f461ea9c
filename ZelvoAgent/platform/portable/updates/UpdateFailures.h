#pragma once

#include "platform/Updates.h"

#include <string_view>

namespace zelvo {

/// A failure by the key of its text.
UpdateAbort updateFailure(std::string_view key);
/// A file system call has failed, with errno set.
UpdateAbort updateDiskFailure();

} // namespace zelvo
