#pragma once

#include "base/LockedBox.h"
#include "platform/linux/x11/capture/SharedImage.h"

#include <memory>

namespace zelvo {

/// Lends shared memory for pictures, and keeps one segment for the next picture.
class SharedImagePool : public std::enable_shared_from_this<SharedImagePool> {
public:
    explicit SharedImagePool(std::shared_ptr<X11Connection> connection);

    /// The memory returns when the last copy of the pointer is destroyed, on any thread. Blocks for a moment
    /// if it must grow. Null if the server can't share memory with us.
    std::shared_ptr<SharedImage> lend(std::size_t bytes);

private:
    void takeBack(std::shared_ptr<SharedImage> image);

    std::shared_ptr<X11Connection> connection;
    LockedBox<std::shared_ptr<SharedImage>> kept;
};

} // namespace zelvo
