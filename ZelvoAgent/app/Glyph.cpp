#include "app/Glyph.h"

#include <QPainter>
#include <QPainterPath>

#include <numbers>

namespace zelvo {

namespace {

// All shapes are drawn in a square of 18 points.
constexpr double middle = 9;

QPainterPath sealOutline()
{
    constexpr int points = 24;
    QPainterPath path;
    for (int point = 0; point < points; ++point) {
        double const angle = 2 * std::numbers::pi * point / points;
        double const radius = point % 2 ? 7.0 : 8.4;
        QPointF const corner(middle + radius * std::sin(angle), middle - radius * std::cos(angle));
        if (point == 0)
            path.moveTo(corner);
        else
            path.lineTo(corner);
    }
    path.closeSubpath();
    return path;
}

QPainterPath triangleOutline()
{
    QPainterPath path;
    path.moveTo(middle, 2);
    path.lineTo(16.6, 15.6);
    path.lineTo(1.4, 15.6);
    path.closeSubpath();
    return path;
}

QPen penOf(QColor const& color, double width)
{
    return {color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin};
}

void drawStroke(QPainter& painter, double top, double bottom)
{
    painter.drawLine(QPointF(middle, top), QPointF(middle, bottom));
}

} // namespace

Glyph::Glyph(Shape shape, QColor color, QWidget* parent) : QWidget(parent), shape(shape), color(color)
{
    setFixedSize(size, size);
}

void Glyph::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor const ground = palette().window().color();
    switch (shape) {
    case Shape::seal:
        painter.setPen(penOf(color, 1));
        painter.setBrush(color);
        painter.drawPath(sealOutline());
        painter.setPen(penOf(ground, 1.7));
        painter.drawPolyline(QPolygonF({{5.6, 9.3}, {8, 11.7}, {12.6, 6.6}}));
        break;
    case Shape::warning:
        painter.setPen(penOf(color, 1.6));
        painter.setBrush(color);
        painter.drawPath(triangleOutline());
        painter.setPen(penOf(ground, 1.7));
        drawStroke(painter, 6.8, 10.6);
        drawStroke(painter, 13.2, 13.2);
        break;
    case Shape::info:
        painter.setPen(penOf(color, 1.5));
        painter.drawEllipse(QPointF(middle, middle), 7.2, 7.2);
        drawStroke(painter, 8.6, 12.6);
        drawStroke(painter, 5.6, 5.6);
        break;
    }
}

} // namespace zelvo
