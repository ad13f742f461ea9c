#include "app/overlays/FrameDrawing.h"

#include "app/widgets/TextLabel.h"
#include "overlays/WorkingIndicatorController.h"

#include <QApplication>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace zelvo::FrameDrawing {

namespace {

constexpr double lineWidth = 4;
constexpr double opacity = 0.9;
constexpr double radius = 12;
constexpr double corner = radius + lineWidth; ///< the square that holds a rounded corner

constexpr double maxShare = 0.5;  ///< of the display's width that a long name may make the badge
constexpr double minNameSize = 3; ///< how wide a name stays in any case, in the font's size

QFont badgeFont()
{
    QFont font = QApplication::font();
    font.setWeight(QFont::DemiBold);
    return font;
}

/// The badge's lengths, which grow with the desktop's font.
struct BadgeMeasures {
    QFont font = badgeFont();
    QFontMetricsF metrics{font};
    double size = QFontInfo(font).pixelSize();
    double height = std::ceil(metrics.height() + 0.8 * size);
    double radius = 0.8 * size;
    double padding = size;
    double dot = 0.6 * size; ///< the sign of a recording
    double dotSpacing = 0.5 * size;

    /// What the badge has beside its text.
    double extra(Figure const& figure) const
    {
        return 2 * padding + (figure.isRecording ? dot + dotSpacing : 0);
    }
};

/// Shortens the name and not the sentence, whose end says that the agent is recorded.
QString badgeText(Figure const& figure, BadgeMeasures const& badge)
{
    QString whole = toQString(indicatorBadge(figure.agent, figure.isRecording));
    double const room = figure.display.width() * maxShare - badge.extra(figure);
    if (!figure.agent || badge.metrics.horizontalAdvance(whole) <= room)
        return whole;
    double const rest = badge.metrics.horizontalAdvance(toQString(indicatorBadge("", figure.isRecording)));
    QString const name = badge.metrics.elidedText(toQString(*figure.agent), Qt::ElideRight,
                                                  std::max(room - rest, minNameSize * badge.size));
    return toQString(indicatorBadge(name.toStdString(), figure.isRecording));
}

/// Hangs from the frame: its lower corners are round, and the upper ones run into the line.
QPainterPath badgeOutline(QRectF const& frame, double round)
{
    QPainterPath path;
    path.addRoundedRect(frame.adjusted(0, -round, 0, 0), round, round);
    QPainterPath below;
    below.addRect(frame);
    return path.intersected(below);
}

void paintBadge(QPainter& painter, Figure const& figure, Theme const& theme)
{
    BadgeMeasures const measures;
    auto const& [text, frame] = badgeOf(figure);
    painter.fillPath(badgeOutline(frame, measures.radius), theme.accent);
    double const middle = (frame.height() + lineWidth / 2) / 2;
    double left = frame.x() + measures.padding;
    if (figure.isRecording) {
        double const half = measures.dot / 2;
        painter.setPen(QPen(theme.onAccent, 1.5));
        painter.setBrush(QColor(0xe5, 0x3e, 0x3e));
        painter.drawEllipse(QPointF(left + half, middle), half, half);
        left += measures.dot + measures.dotSpacing;
    }
    painter.setFont(measures.font);
    painter.setPen(theme.onAccent);
    painter.drawText(QRectF(left, 0, frame.width(), 2 * middle), Qt::AlignVCenter | Qt::TextSingleLine, text);
}

} // namespace

Badge badgeOf(Figure const& figure)
{
    BadgeMeasures const measures;
    double const display = figure.display.width();
    QString const text = measures.metrics.elidedText(badgeText(figure, measures), Qt::ElideRight,
                                                     display - measures.extra(figure));
    double const width =
        std::min(display, std::ceil(measures.metrics.horizontalAdvance(text) + measures.extra(figure)));
    return {text, QRectF(std::floor((display - width) / 2), 0, width, measures.height)};
}

std::array<QRectF, 4> partsOf(Figure const& figure)
{
    double const width = figure.display.width();
    double const height = figure.display.height();
    double const top = std::max(corner, BadgeMeasures().height);
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
