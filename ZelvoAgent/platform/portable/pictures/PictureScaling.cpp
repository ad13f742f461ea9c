#include "platform/portable/pictures/PictureScaling.h"

#include <libyuv.h>

namespace zelvo {

Picture scaled(Picture picture, int width, int height)
{
    if (picture.width == width && picture.height == height)
        return picture;
    Picture result{.width = width, .height = height, .stride = width * 4};
    result.pixels = PixelBuffer(static_cast<std::size_t>(result.stride) * static_cast<std::size_t>(height));
    int const code =
        libyuv::ARGBScale(picture.pixels.data(), picture.stride, picture.width, picture.height,
                          result.pixels.data(), result.stride, width, height, libyuv::kFilterBox);
    if (code != 0)
        throw ScreenFailure{"the picture can't be scaled"};
    return result;
}

} // namespace zelvo
