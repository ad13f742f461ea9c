#include "platform/linux/x11/capture/SharedImagePool.h"

namespace zelvo {

SharedImagePool::SharedImagePool(std::shared_ptr<X11Connection> connection)
    : connection(std::move(connection))
{
}

std::shared_ptr<SharedImage> SharedImagePool::lend(std::size_t bytes)
{
    std::shared_ptr<SharedImage> image;
    kept.change([&](std::shared_ptr<SharedImage>& one) { image.swap(one); });
    if (!image)
        image = std::make_shared<SharedImage>(connection);
    if (!image->reserve(bytes))
        return nullptr;
    SharedImage* const lent = image.get();
    return {lent, [pool = weak_from_this(), image = std::move(image)](SharedImage*) mutable {
                if (auto const back = pool.lock())
                    back->takeBack(std::move(image));
            }};
}

void SharedImagePool::takeBack(std::shared_ptr<SharedImage> image)
{
    // The old segment is destroyed outside of the lock, because that sends a request.
    kept.change([&](std::shared_ptr<SharedImage>& one) { image.swap(one); });
}

} // namespace zelvo
