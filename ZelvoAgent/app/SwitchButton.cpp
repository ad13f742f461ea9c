#include "app/SwitchButton.h"

#include "app/Theme.h"

#include <QPainter>

namespace zelvo {

namespace {

// Points. The focus ring is around the track.
constexpr double trackWidth = 36;
constexpr double trackHeight = 20;
constexpr double ring = 3;
constexpr double knob = 14;
constexpr double disabledOpacity = 0.55;

} // namespace

SwitchButton::SwitchButton(QString const& accessibleName, QWidget* parent) : QCheckBox(parent)
{
    setAccessibleName(accessibleName);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize SwitchButton::sizeHint() const
{
    return {static_cast<int>(trackWidth + 2 * ring), static_cast<int>(trackHeight + 2 * ring)};
}

bool SwitchButton::hitButton(QPoint const& position) const
{
    return rect().contains(position);
}

void SwitchButton::paintEvent(QPaintEvent*)
{
    Theme const theme(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled())
        painter.setOpacity(disabledOpacity);

    QRectF const track(ring, ring, trackWidth, trackHeight);
    painter.setPen(isChecked() ? QPen(Qt::NoPen) : QPen(theme.secondary, 1.5));
    painter.setBrush(isChecked() ? theme.accent : theme.card);
    painter.drawRoundedRect(track, trackHeight / 2, trackHeight / 2);

    double const margin = (trackHeight - knob) / 2;
    double const left = isChecked() ? track.right() - margin - knob : track.left() + margin;
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? theme.onAccent : theme.secondary);
    painter.drawEllipse(QRectF(left, track.top() + margin, knob, knob));

    if (hasFocus()) {
        painter.setPen(QPen(theme.accent, 1.5));
        painter.setBrush(Qt::NoBrush);
        QRectF const around = track.adjusted(-ring + 1, -ring + 1, ring - 1, ring - 1);
        painter.drawRoundedRect(around, around.height() / 2, around.height() / 2);
    }
}

} // namespace zelvo
