#include "app/overlays/CursorDrawing.h"

#include "app/overlays/AgentPointer.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QString>

#include <algorithm>
#include <cmath>

namespace zelvo::CursorDrawing {

namespace {

// The frame around pointer and label.
constexpr double frameWidth = 120;
constexpr double frameHeight = 32;
constexpr QSizeF pointerSize(14, 20);
constexpr double spacing = 4;

constexpr double labelLeft = pointerSize.width() + spacing;
constexpr double padding = 7;
constexpr double lineHeight = 18; ///< the label's height with one line
constexpr double radius = 9;
constexpr int shadow = 5; ///< how far it reaches

constexpr double firstRadius = 5;
constexpr double lastRadius = 22;

QFont labelFont(int pixels, QFont::Weight weight)
{
    QFont font = QApplication::font();
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

QFont nameFont()
{
    return labelFont(11, QFont::DemiBold);
}

QFont activityFont()
{
    return labelFont(11, QFont::Normal);
}

struct Line {
    QFont font;
    QString text;
    double width = 0;
};

Line lineOf(std::string const& text, QFont const& font)
{
    // Longer ones would only take time: none of them fits.
    constexpr qsizetype longest = 200;
    QFontMetricsF const metrics(font);
    QString const fitting = metrics.elidedText(QString::fromStdString(text).left(longest), Qt::ElideRight,
                                               frameWidth - labelLeft - 2 * padding);
    return {font, fitting, metrics.horizontalAdvance(fitting)};
}

struct Label {
    Line name;
    std::optional<Line> activity;
    QRectF frame;
};

Label labelOf(Figure const& figure)
{
    Label label{.name = lineOf(figure.name, nameFont()), .activity = {}, .frame = {}};
    double width = label.name.width;
    if (figure.activity) {
        label.activity = lineOf(*figure.activity, activityFont());
        width = std::max(width, label.activity->width);
    }
    label.frame = {labelLeft, 0, std::ceil(width) + 2 * padding, label.activity ? frameHeight : lineHeight};
    return label;
}

/// A soft shadow, a little below the shape.
void paintShadow(QPainter& painter, QPainterPath const& shape)
{
    painter.save();
    painter.translate(0, 1);
    painter.setBrush(Qt::NoBrush);
    for (int reach = shadow; reach >= 1; --reach) {
        painter.setPen(QPen(QColor(0, 0, 0, 14), 2 * reach, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(shape);
    }
    painter.restore();
}

void paintLine(QPainter& painter, Line const& line, double top, double height, double left)
{
    painter.setFont(line.font);
    painter.drawText(QRectF(left, top, line.width + 1, height), Qt::AlignVCenter | Qt::TextSingleLine,
                     line.text);
}

void paintLabel(QPainter& painter, Label const& label, Theme const& theme)
{
    QPainterPath pill;
    pill.addRoundedRect(label.frame, radius, radius);
    paintShadow(painter, pill);
    painter.fillPath(pill, theme.accent);
    double const left = label.frame.x() + padding;
    painter.setPen(theme.onAccent);
    paintLine(painter, label.name, label.activity ? 2 : 0, label.activity ? 15 : lineHeight, left);
    if (label.activity) {
        painter.setOpacity(painter.opacity() * 0.85);
        paintLine(painter, *label.activity, 15, 14, left);
    }
}

void paintPointer(QPainter& painter)
{
    QPainterPath const shape = agentPointer({QPointF(0, 0), pointerSize});
    paintShadow(painter, shape);
    painter.strokePath(shape, QPen(Qt::white, 2.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.fillPath(shape, Qt::black);
}

} // namespace

QRectF areaOf(Figure const& figure)
{
    QRectF const frame = labelOf(figure).frame.united({QPointF(0, 0), pointerSize});
    return frame.adjusted(-shadow, -shadow, shadow, shadow + 1);
}

void paint(QPainter& painter, Figure const& figure, Theme const& theme)
{
    painter.setOpacity(figure.opacity);
    paintPointer(painter);
    paintLabel(painter, labelOf(figure), theme);
}

QRectF rippleArea()
{
    double const side = lastRadius + 2;
    return {-side, -side, 2 * side, 2 * side};
}

void paintRipple(QPainter& painter, double growth, Theme const& theme)
{
    double const size = firstRadius + (lastRadius - firstRadius) * growth;
    double const left = 1 - growth * growth;
    QColor inside = theme.accent;
    inside.setAlphaF(static_cast<float>(0.3 * (1 - growth)));
    painter.setBrush(inside);
    QColor ring = theme.accent;
    ring.setAlphaF(static_cast<float>(left));
    painter.setPen(QPen(ring, 3 - 1.5 * growth));
    painter.drawEllipse(QPointF(0, 0), size, size);
}

} // namespace zelvo::CursorDrawing
