#include "app/widgets/Symbol.h"

#include <QPainter>
#include <QPainterPath>

#include <map>
#include <utility>

namespace zelvo {

namespace {

using Draw = void (*)(QPainter& painter);

// All signs are drawn in a square of 16 by 16 with a round pen.
constexpr double side = 16;
constexpr double penWidth = 1.4;

void dot(QPainter& painter, double x, double y, double radius)
{
    painter.save();
    painter.setBrush(painter.pen().color());
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QPointF(x, y), radius, radius);
    painter.restore();
}

void filled(QPainter& painter, QPolygonF const& outline)
{
    painter.save();
    painter.setBrush(painter.pen().color());
    painter.drawPolygon(outline);
    painter.restore();
}

void slash(QPainter& painter)
{
    painter.drawLine(QPointF(2.5, 2.5), QPointF(13.5, 13.5));
}

void lockBody(QPainter& painter)
{
    painter.drawRoundedRect(QRectF(3, 7.2, 10, 6.8), 1.6, 1.6);
}

void closedLock(QPainter& painter)
{
    lockBody(painter);
    QPainterPath shackle(QPointF(5, 7.2));
    shackle.lineTo(5, 5);
    shackle.arcTo(QRectF(5, 2, 6, 6), 180, -180);
    shackle.lineTo(11, 7.2);
    painter.drawPath(shackle);
}

void openLock(QPainter& painter)
{
    lockBody(painter);
    QPainterPath shackle(QPointF(5, 7.2));
    shackle.lineTo(5, 4.6);
    shackle.arcTo(QRectF(5, 1.6, 6, 6), 180, -160);
    painter.drawPath(shackle);
}

void cloud(QPainter& painter)
{
    QPainterPath outline(QPointF(4.6, 12.6));
    outline.cubicTo(0.6, 12.6, 0.9, 7.4, 4.4, 7.6);
    outline.cubicTo(4.6, 3.2, 10.8, 2.6, 11.4, 6.8);
    outline.cubicTo(15.6, 6.4, 15.8, 12.6, 11.6, 12.6);
    outline.closeSubpath();
    painter.drawPath(outline);
}

void waves(QPainter& painter)
{
    for (int ring = 1; ring <= 3; ++ring) {
        double const radius = 3.6 * ring;
        painter.drawArc(QRectF(8 - radius, 13 - radius, 2 * radius, 2 * radius), 45 * 16, 90 * 16);
    }
    dot(painter, 8, 12.6, 0.9);
}

void eye(QPainter& painter)
{
    QPainterPath outline(QPointF(1.2, 8));
    outline.quadTo(8, 0.8, 14.8, 8);
    outline.quadTo(8, 15.2, 1.2, 8);
    painter.drawPath(outline);
    painter.drawEllipse(QPointF(8, 8), 2.2, 2.2);
}

void gear(QPainter& painter)
{
    painter.drawEllipse(QPointF(8, 8), 2.3, 2.3);
    painter.drawEllipse(QPointF(8, 8), 4.7, 4.7);
    painter.save();
    painter.translate(8, 8);
    for (int tooth = 0; tooth < 8; ++tooth) {
        painter.drawLine(QPointF(0, -4.9), QPointF(0, -6.6));
        painter.rotate(45);
    }
    painter.restore();
}

void sun(QPainter& painter)
{
    painter.drawEllipse(QPointF(8, 8), 3, 3);
    painter.save();
    painter.translate(8, 8);
    for (int ray = 0; ray < 8; ++ray) {
        painter.drawLine(QPointF(0, -5), QPointF(0, -6.8));
        painter.rotate(45);
    }
    painter.restore();
}

void moon(QPainter& painter)
{
    QPainterPath disc;
    disc.addEllipse(QPointF(8, 8), 5.8, 5.8);
    QPainterPath bite;
    bite.addEllipse(QPointF(10.8, 6), 4.8, 4.8);
    painter.drawPath(disc.subtracted(bite));
}

void shield(QPainter& painter)
{
    QPainterPath outline(QPointF(8, 1.6));
    outline.lineTo(13, 3.4);
    outline.lineTo(13, 8);
    outline.quadTo(12.4, 12.4, 8, 14.6);
    outline.quadTo(3.6, 12.4, 3, 8);
    outline.lineTo(3, 3.4);
    outline.closeSubpath();
    painter.drawPath(outline);
    painter.drawPolyline(QPolygonF({{5.6, 8}, {7.4, 9.8}, {10.5, 6.2}}));
}

void arrowDownInCircle(QPainter& painter)
{
    painter.drawEllipse(QPointF(8, 8), 6.4, 6.4);
    painter.drawLine(QPointF(8, 4.8), QPointF(8, 11));
    painter.drawPolyline(QPolygonF({{5.4, 8.6}, {8, 11.2}, {10.6, 8.6}}));
}

void exclamation(QPainter& painter)
{
    painter.drawEllipse(QPointF(8, 8), 6.4, 6.4);
    painter.drawLine(QPointF(8, 4.6), QPointF(8, 8.8));
    dot(painter, 8, 11.2, 0.9);
}

void arrowPointer(QPainter& painter)
{
    painter.drawPolygon(
        QPolygonF({{3.4, 1.8}, {3.4, 12.6}, {6.4, 10}, {8.6, 14.4}, {10.6, 13.4}, {8.4, 9.2}, {12.4, 9}}));
}

void terminal(QPainter& painter)
{
    painter.drawRoundedRect(QRectF(1.4, 2.6, 13.2, 10.8), 2, 2);
    painter.drawPolyline(QPolygonF({{4.2, 5.8}, {6.6, 8}, {4.2, 10.2}}));
    painter.drawLine(QPointF(8.2, 10.4), QPointF(11.6, 10.4));
}

void clock(QPainter& painter)
{
    painter.drawEllipse(QPointF(8, 8), 6.4, 6.4);
    painter.drawPolyline(QPolygonF({{8, 4.4}, {8, 8.2}, {10.6, 9.6}}));
}

void desktop(QPainter& painter)
{
    painter.drawRoundedRect(QRectF(1.4, 2.2, 13.2, 8.8), 1.6, 1.6);
    painter.drawLine(QPointF(8, 11), QPointF(8, 13.8));
    painter.drawLine(QPointF(5, 13.8), QPointF(11, 13.8));
}

void folder(QPainter& painter)
{
    painter.drawPolygon(QPolygonF({{1.6, 3.4}, {6.2, 3.4}, {7.8, 5.2}, {14.4, 5.2}, {14.4, 13}, {1.6, 13}}));
}

void cross(QPainter& painter)
{
    painter.drawLine(QPointF(4, 4), QPointF(12, 12));
    painter.drawLine(QPointF(12, 4), QPointF(4, 12));
}

std::map<std::string_view, Draw, std::less<>> const& signs()
{
    static std::map<std::string_view, Draw, std::less<>> const all = {
        {"cursorarrow", arrowPointer},
        {"terminal", terminal},
        {"eye", eye},
        {"clock", clock},
        {"record.circle",
         [](QPainter& painter) {
             painter.drawEllipse(QPointF(8, 8), 6.4, 6.4);
             dot(painter, 8, 8, 3);
         }},
        {"arrow.down.circle", arrowDownInCircle},
        {"checkmark.shield", shield},
        {"gearshape", gear},
        {"moon", moon},
        {"sun.max", sun},
        {"lock", closedLock},
        {"lock.open", openLock},
        {"lock.slash",
         [](QPainter& painter) {
             closedLock(painter);
             slash(painter);
         }},
        {"desktopcomputer", desktop},
        {"wifi.slash",
         [](QPainter& painter) {
             waves(painter);
             slash(painter);
         }},
        {"cloud", cloud},
        {"folder", folder},
        {"xmark", cross},
        {"chevron.right",
         [](QPainter& painter) { painter.drawPolyline(QPolygonF({{6, 3.6}, {10.4, 8}, {6, 12.4}})); }},
        {"chevron.down",
         [](QPainter& painter) { painter.drawPolyline(QPolygonF({{3.6, 6}, {8, 10.4}, {12.4, 6}})); }},
        {"checkmark",
         [](QPainter& painter) { painter.drawPolyline(QPolygonF({{3, 8.6}, {6.4, 12}, {13, 4.4}})); }},
        {"exclamationmark.circle", exclamation},
        {"pause.fill",
         [](QPainter& painter) {
             filled(painter, QPolygonF(QRectF(4, 3.4, 2, 9.2)));
             filled(painter, QPolygonF(QRectF(10, 3.4, 2, 9.2)));
         }},
        {"play.fill",
         [](QPainter& painter) { filled(painter, QPolygonF({{5, 3.2}, {12.6, 8}, {5, 12.8}})); }},
    };
    return all;
}

} // namespace

void Symbol::draw(QPainter& painter, std::string_view name, QRectF const& place, QColor const& color)
{
    auto const found = signs().find(name);
    if (found == signs().end())
        return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(place.topLeft());
    painter.scale(place.width() / side, place.height() / side);
    painter.setPen(QPen(color, penWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    found->second(painter);
    painter.restore();
}

bool Symbol::isKnown(std::string_view name)
{
    return signs().contains(name);
}

SymbolView::SymbolView(std::string_view name, QColor color, QWidget* parent, int size)
    : QWidget(parent), name(name), color(color)
{
    setFixedSize(size, size);
}

void SymbolView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    Symbol::draw(painter, name, QRectF(rect()), color);
}

} // namespace zelvo
