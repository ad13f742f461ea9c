#include "platform/portable/video/FrameConversion.h"

#include "platform/portable/video/LibavObjects.h"

#include <libyuv.h>

namespace zelvo {

bool convertPicture(Picture const& picture, AVFrame& frame)
{
    if (picture.width != frame.width || picture.height != frame.height)
        return false;
    auto const* const from = picture.pixels.data();
    if (frame.format == AV_PIX_FMT_NV12)
        return libyuv::ARGBToNV12(from, picture.stride, frame.data[0], frame.linesize[0], frame.data[1],
                                  frame.linesize[1], frame.width, frame.height) == 0;
    return libyuv::ARGBToI420(from, picture.stride, frame.data[0], frame.linesize[0], frame.data[1],
                              frame.linesize[1], frame.data[2], frame.linesize[2], frame.width,
                              frame.height) == 0;
}

} // namespace zelvo
