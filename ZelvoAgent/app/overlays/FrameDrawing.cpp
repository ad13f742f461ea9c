#include "app/overlays/FrameDrawing.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QPainterPath>
#include <QString>

#include <algorithm>
#include <cmath>

namespace zelvo::FrameDrawing {

namespace {

constexpr double lineWidth = 4;
constexpr double opacity = 0.9;
constexpr double radius = 12;
constexpr double corner = radius + lineWidth; ///< the square that holds a rounded corner

constexpr double badgeHeight = 26;
constexpr double badgeRadius = 10;
constexpr double padding = 14;
constexpr double dot = 8; ///< the sign of a recording
constexpr double dotSpacing = 7;
constexpr double maxShare = 0.5; ///< of the display's width

QFont badgeFont()
{
    QFont font = QApplication::font();
    font.setPixelSize(13);
    font.setWeight(QFont::DemiBold);
    return font;
}

/// Hangs from the frame: its lower corners are round, and the upper ones run into the line.
QPainterPath badgeOutline(QRectF const& frame)
{
    QPainterPath path;
    path.addRoundedRect(frame.adjusted(0, -badgeRadius, 0, 0), badgeRadius, badgeRadius);
    QPainterPath below;
    below.addRect(frame);
    return path.intersected(below);
}

void paintBadge(QPainter& painter, Figure const& figure, Theme const& theme)
{
    QFont const font = badgeFont();
    QFontMetricsF const metrics(font);
    double const mark = figure.isRecording ? dot + dotSpacing : 0;
    double const longest = figure.display.width() * maxShare - 2 * padding - mark;
    QString const text = metrics.elidedText(QString::fromStdString(figure.badge), Qt::ElideRight, longest);
    double const width = std::ceil(metrics.horizontalAdvance(text) + mark + 2 * padding);
    QRectF const frame(std::floor((figure.display.width() - width) / 2), 0, width, badgeHeight);
    painter.fillPath(badgeOutline(frame), theme.accent);
    double const middle = (badgeHeight + lineWidth / 2) / 2;
    if (figure.isRecording) {
        painter.setPen(QPen(theme.onAccent, 1.5));
        painter.setBrush(QColor(0xe5, 0x3e, 0x3e));
        painter.drawEllipse(QPointF(frame.x() + padding + dot / 2, middle), dot / 2, dot / 2);
    }
    painter.setFont(font);
    painter.setPen(theme.onAccent);
    painter.drawText(QRectF(frame.x() + padding + mark, 0, width, 2 * middle),
                     Qt::AlignVCenter | Qt::TextSingleLine, text);
}

} // namespace

std::array<QRectF, 4> partsOf(Figure const& figure)
{
    double const width = figure.display.width();
    double const height = figure.display.height();
    double const top = std::max(corner, badgeHeight);
    double const side = std::max(0.0, height - top - corner);
    return {QRectF(0, 0, width, top), QRectF(0, height - corner, width, corner),
            QRectF(0, top, lineWidth, side), QRectF(width - lineWidth, top, lineWidth, side)};
}

void paint(QPainter& painter, Figure const& figure, Theme const& theme)
{
    double const half = lineWidth / 2;
    QRectF const display(QPointF(0, 0), figure.display);
    painter.setOpacity(opacity);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(theme.accent, lineWidth));
    painter.drawRoundedRect(display.adjusted(half, half, -half, -half), radius, radius);
    painter.setOpacity(1);
    paintBadge(painter, figure, theme);
}

} // namespace zelvo::FrameDrawing
