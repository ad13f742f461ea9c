#include "app/welcome/StepBadge.h"

#include "app/Theme.h"
#include "app/widgets/Symbol.h"

#include <QPainter>

#include <algorithm>

namespace zelvo {

namespace {

constexpr int badgeSide = 26; // Points.

} // namespace

StepBadge::StepBadge(int number, bool done, bool current, QWidget* parent)
    : QWidget(parent), number(number), done(done), current(current)
{
    int const least = QFontMetrics(font()).height() + 8;
    setFixedSize(std::max(badgeSide, least), std::max(badgeSide, least));
}

void StepBadge::paintEvent(QPaintEvent*)
{
    Theme const theme(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QRectF const circle = QRectF(rect()).adjusted(1, 1, -1, -1);
    painter.setPen(QPen(done || current ? theme.accent : theme.line, 1.5));
    painter.setBrush(done ? QBrush(theme.accent) : QBrush(Qt::NoBrush));
    painter.drawEllipse(circle);
    if (done) {
        double const inset = circle.width() * 0.22;
        Symbol::draw(painter, "checkmark", circle.adjusted(inset, inset, -inset, -inset), theme.onAccent);
        return;
    }
    painter.setPen(current ? theme.accent : theme.secondary);
    painter.drawText(rect(), Qt::AlignCenter, QString::number(number));
}

} // namespace zelvo
