#pragma once

#include <stdlib.h>

#include <memory>

namespace zelvo {

struct FreeXReply {
    void operator()(void* raw) const noexcept { ::free(raw); }
};

/// A reply, event or error of the X server.
template <class T>
using XReply = std::unique_ptr<T, FreeXReply>;

} // namespace zelvo
