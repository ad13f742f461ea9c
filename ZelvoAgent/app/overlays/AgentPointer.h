#pragma once

#include <QPainterPath>
#include <QRectF>

namespace zelvo {

/// The shape of the agent's pointer: its tip is the top left corner of `frame`.
QPainterPath agentPointer(QRectF const& frame);

} // namespace zelvo
