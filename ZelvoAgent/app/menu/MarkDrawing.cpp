#include "app/menu/MarkDrawing.h"

#include "app/Theme.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

// The icon's proportions, in points.
constexpr double iconSide = 18;
constexpr double recordingWidth = 8; ///< by which the icon is wider while a recording runs
constexpr double recordingDot = 6;

// In a box of one by one: a screen with a Z on it, and room for a dot above the Z.
QPainterPath outline()
{
    QPainterPath screen;
    screen.addRoundedRect(QRectF(0.04, 0.04, 0.92, 0.92), 0.22, 0.22);
    QPainterPath inside;
    inside.addRoundedRect(QRectF(0.12, 0.12, 0.76, 0.76), 0.15, 0.15);
    QPainterPath letter;
    letter.addPolygon(QPolygonF({{0.27, 0.40},
                                 {0.73, 0.40},
                                 {0.73, 0.49},
                                 {0.44, 0.70},
                                 {0.73, 0.70},
                                 {0.73, 0.79},
                                 {0.27, 0.79},
                                 {0.27, 0.70},
                                 {0.56, 0.49},
                                 {0.27, 0.49}}));
    letter.closeSubpath();
    return screen.subtracted(inside).united(letter);
}

/// Draws the icon at the size that is asked for, instead of scaling a picture of it.
class MarkIconEngine final : public QIconEngine {
public:
    MarkIconEngine(ZelvoMark::State state, bool recording, QColor const& color)
        : state(state), recording(recording), color(color)
    {
    }

    void paint(QPainter* painter, QRect const& rect, QIcon::Mode, QIcon::State) override
    {
        double const units = recording ? iconSide + recordingWidth : iconSide;
        double const scale = std::min(rect.width() / units, rect.height() / iconSide);
        QSizeF const size(units * scale, iconSide * scale);
        QRectF const place(rect.x() + (rect.width() - size.width()) / 2,
                           rect.y() + (rect.height() - size.height()) / 2, size.width(), size.height());
        MarkDrawing::draw(*painter, QRectF(place.topLeft(), QSizeF(size.height(), size.height())), state,
                          color);
        if (!recording)
            return;
        double const dot = recordingDot * scale;
        painter->drawEllipse(QRectF(place.right() - dot, place.center().y() - dot / 2, dot, dot));
    }

    QPixmap pixmap(QSize const& size, QIcon::Mode mode, QIcon::State shown) override
    {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, QRect(QPoint(), size), mode, shown);
        return picture;
    }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        QList<QSize> sizes;
        for (int const side : {16, 18, 22, 24, 27, 32})
            sizes.append(QSize(recording ? side * 26 / 18 : side, side));
        return sizes;
    }

    QIconEngine* clone() const override { return new MarkIconEngine(*this); }

private:
    ZelvoMark::State state;
    bool recording;
    QColor color;
};

} // namespace

void MarkDrawing::draw(QPainter& painter, QRectF const& place, ZelvoMark::State state, QColor const& color)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.save();
    painter.translate(place.topLeft());
    painter.scale(place.width(), place.height());
    painter.drawPath(outline());
    if (state == ZelvoMark::State::working)
        painter.drawEllipse(QRectF(0.425, 0.2, 0.1, 0.1));
    painter.restore();
}

QIcon MenuBarIcon::image(ZelvoMark::State state, bool recording, QColor const& color)
{
    return QIcon(new MarkIconEngine(state, recording, color));
}

MarkView::MarkView(int size, QWidget* parent) : QWidget(parent)
{
    setFixedSize(size, size);
}

void MarkView::setMark(ZelvoMark::State next)
{
    if (std::exchange(state, next) != next)
        update();
}

void MarkView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    bool const isQuiet = state == ZelvoMark::State::idle;
    QColor const color = isQuiet ? Theme(palette()).secondary : palette().windowText().color();
    MarkDrawing::draw(painter, QRectF(rect()), state, color);
}

} // namespace zelvo
