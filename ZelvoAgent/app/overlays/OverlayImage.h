#pragma once

#include "platform/OverlayWindows.h"

#include <QImage>
#include <QPainter>
#include <QRectF>

#include <functional>

namespace zelvo {

/// Draws what an overlay window shows.
/// area   around the window's place, in points; enlarged to whole pixels
/// scale  pixels per point
/// paint  draws in points; the window's place is (0, 0)
OverlayPicture overlayPicture(QRectF const& area, double scale, std::function<void(QPainter&)> const& paint);

} // namespace zelvo
