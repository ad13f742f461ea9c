#include "app/widgets/Card.h"

#include "app/Theme.h"

#include <QPainter>
#include <QVBoxLayout>

namespace zelvo {

Card::Card(QWidget* parent, int radius) : QFrame(parent), radius(radius), rows(new QVBoxLayout(this))
{
    rows->setContentsMargins(spacing::medium, spacing::medium, spacing::medium, spacing::medium);
    rows->setSpacing(spacing::small);
}

void Card::paintEvent(QPaintEvent*)
{
    Theme const theme(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(theme.card);
    painter.setPen(theme.line);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

Divider::Divider(QWidget* parent) : QWidget(parent)
{
    setFixedHeight(1);
}

void Divider::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(rect(), Theme(palette()).line);
}

} // namespace zelvo
