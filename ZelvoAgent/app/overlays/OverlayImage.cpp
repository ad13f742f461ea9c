#include "app/overlays/OverlayImage.h"

#include <QRect>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace zelvo {

OverlayPicture overlayPicture(QRectF const& area, double scale, std::function<void(QPainter&)> const& paint)
{
    QRect const pixels =
        QRectF(area.x() * scale, area.y() * scale, area.width() * scale, area.height() * scale)
            .toAlignedRect();
    QImage image(std::max(1, pixels.width()), std::max(1, pixels.height()),
                 QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(-pixels.topLeft());
    painter.scale(scale, scale);
    paint(painter);
    painter.end();
    OverlayPicture picture{.width = image.width(),
                           .height = image.height(),
                           .pixels = {},
                           .originX = -pixels.x(),
                           .originY = -pixels.y()};
    auto const width = static_cast<std::size_t>(image.width());
    picture.pixels.resize(width * static_cast<std::size_t>(image.height()));
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(picture.pixels.data() + static_cast<std::size_t>(y) * width, image.constScanLine(y),
                    width * 4);
    return picture;
}

} // namespace zelvo
