#pragma once

#include "base/LockedBox.h"
#include "platform/linux/x11/capture/SharedImage.h"

#include <memory>

namespace zelvo {

/// Lends memory that the X server writes pictures into, and keeps one piece of it for the next picture.
/// Thread: any.
class SharedImagePool : public std::enable_shared_from_this<SharedImagePool> {
public:
    explicit SharedImagePool(std::shared_ptr<X11Connection> connection);

    /// Comes back when the last copy of the pointer ends, on whichever thread that is. Blocks for a moment
    /// when it must grow. Null when the server can't share memory with us.
    std::shared_ptr<SharedImage> lend(std::size_t bytes);

private:
    void takeBack(std::shared_ptr<SharedImage> image);

    std::shared_ptr<X11Connection> connection;
    LockedBox<std::shared_ptr<SharedImage>> kept;
};

} // namespace zelvo
