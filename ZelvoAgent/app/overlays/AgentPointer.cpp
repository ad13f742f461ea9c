#include "app/overlays/AgentPointer.h"

#include <QPolygonF>

namespace zelvo {

QPainterPath agentPointer(QRectF const& frame)
{
    auto const at = [&frame](double x, double y) {
        return QPointF(frame.x() + x * frame.width(), frame.y() + y * frame.height());
    };
    QPainterPath path;
    path.addPolygon(QPolygonF(
        {at(0, 0), at(0, 0.86), at(0.30, 0.64), at(0.52, 1), at(0.70, 0.92), at(0.48, 0.58), at(1, 0.58)}));
    path.closeSubpath();
    return path;
}

} // namespace zelvo
