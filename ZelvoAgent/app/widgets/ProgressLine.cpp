#include "app/widgets/ProgressLine.h"

#include "app/Theme.h"

#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <QTimerEvent>

#include <algorithm>
#include <cmath>

namespace zelvo {

namespace {

constexpr int lineHeight = 6; // Points.
constexpr int steps = 1000;
constexpr int frameMs = 33;
constexpr double roundMs = 1600; // From one end to the other.
constexpr double movingShare = 0.3;

} // namespace

ProgressLine::ProgressLine(QString const& name, QWidget* parent) : QProgressBar(parent)
{
    setTextVisible(false);
    setFixedHeight(lineHeight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(name);
    setRange(0, steps);
    setValue(0);
}

void ProgressLine::setFraction(std::optional<double> fraction)
{
    setRange(0, fraction ? steps : 0);
    if (fraction)
        setValue(static_cast<int>(std::lround(std::clamp(*fraction, 0.0, 1.0) * steps)));
    animate();
    update();
}

double ProgressLine::fraction() const
{
    return isUnknown() ? -1 : static_cast<double>(value()) / steps;
}

QSize ProgressLine::sizeHint() const
{
    return minimumSizeHint();
}

QSize ProgressLine::minimumSizeHint() const
{
    return {2 * lineHeight, lineHeight};
}

void ProgressLine::animate()
{
    bool const mayMove = style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0;
    if (!isUnknown() || !isVisible() || !mayMove) {
        frames.stop();
    } else if (!frames.isActive()) {
        sinceStart.start();
        frames.start(frameMs, this);
    }
}

QRectF ProgressLine::filled() const
{
    double const all = width();
    if (!isUnknown())
        return {0, 0, all * fraction(), lineHeight};
    if (!frames.isActive())
        return {all * (1 - movingShare) / 2, 0, all * movingShare, lineHeight};
    double const part = std::fmod(static_cast<double>(sinceStart.elapsed()), roundMs) / roundMs;
    return {all * (part * (1 + movingShare) - movingShare), 0, all * movingShare, lineHeight};
}

void ProgressLine::paintEvent(QPaintEvent*)
{
    Theme const theme(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    double const radius = lineHeight / 2.0;
    QPainterPath line;
    line.addRoundedRect(QRectF(rect()), radius, radius);
    painter.fillPath(line, theme.line);
    painter.setClipPath(line);
    painter.setBrush(theme.accent);
    painter.drawRoundedRect(filled(), radius, radius);
}

void ProgressLine::timerEvent(QTimerEvent* event)
{
    if (event->timerId() == frames.timerId())
        update();
    else
        QProgressBar::timerEvent(event);
}

void ProgressLine::showEvent(QShowEvent* event)
{
    QProgressBar::showEvent(event);
    animate();
}

void ProgressLine::hideEvent(QHideEvent* event)
{
    QProgressBar::hideEvent(event);
    animate();
}

} // namespace zelvo
